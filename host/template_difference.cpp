// Lays two templates over each other as one tree of services, invocations and attributes.
// SPDX-License-Identifier: MIT
#include "template_difference.h"

#include <fcntl.h>

#include <array>
#include <list>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace platen {
namespace {

// A template of the store's, opened for reading.
class StoredTemplate {
 public:
  explicit StoredTemplate(const ParserModule& module) : module_(module) {
    module_.construct_template(&object_);
  }
  ~StoredTemplate() { module_.destruct_template(&object_); }
  StoredTemplate(const StoredTemplate&) = delete;
  StoredTemplate& operator=(const StoredTemplate&) = delete;

  // Visits every value. Returns why the file cannot be read, or "".
  std::string walk(const std::string& path, jt_visit visit, void* context) {
    const bool is_read = module_.open_template(&object_, path.c_str(), O_RDONLY) != 0 &&
                         module_.walk(&object_, visit, context) == 0;
    return is_read ? "" : module_.error(&object_);
  }

 private:
  const ParserModule& module_;
  TemplateObject object_ = {};
};

// The walk goes in the order of the file, in which no attribute stands twice: one that is not the
// last one is new.
int collect(void* context, const char* service, const char* invocation, const char* attribute,
            const char* type, bool_t compulsory, int /*line*/, const char* value) {
  auto& list = *static_cast<std::vector<TemplateAttribute>*>(context);
  const bool is_last = !list.empty() && list.back().attribute == attribute &&
                       list.back().invocation == invocation && list.back().service == service;
  if (!is_last) {
    list.push_back({service, invocation, attribute, {{}, type, compulsory != FALSE}});
  }
  if (value != nullptr) list.back().held.values.emplace_back(value);
  return 0;
}

enum Side { kBefore, kAfter };

// A service, invocation or attribute with what is below it.
class Node {
 public:
  using Child = std::pair<std::string_view, Node>;

  // The child of that name. A new one stands behind the child that the same side asked for last.
  Node& child(std::string_view name, Side side) {
    auto& latest = latest_[side];
    const auto [known, is_new] = index_.try_emplace(name);
    if (is_new) {
      const auto place = latest ? std::next(*latest) : children_.begin();
      known->second = children_.emplace(place, name, Node());
    }
    latest = known->second;
    return known->second->second;
  }

  const std::list<Child>& children() const { return children_; }

  std::array<const HeldAttribute*, 2> held = {};  // of an attribute, by side

 private:
  using Place = std::list<Child>::iterator;

  std::list<Child> children_;
  std::unordered_map<std::string_view, Place> index_;
  std::array<std::optional<Place>, 2> latest_;
};

void lay(const std::vector<TemplateAttribute>& attributes, Side side, Node* root) {
  for (const TemplateAttribute& row : attributes) {
    root->child(row.service, side)
        .child(row.invocation, side)
        .child(row.attribute, side)
        .held[side] = &row.held;
  }
}

bool differs(const Node& node) {
  const auto& [before, after] = node.held;
  return before == nullptr || after == nullptr || *before != *after;
}

std::optional<HeldAttribute> copied(const HeldAttribute* held) {
  return held == nullptr ? std::nullopt : std::optional(*held);
}

Json held_json(const std::optional<HeldAttribute>& held) {
  if (!held) return nullptr;
  Json values = Json::array();
  for (const std::string& value : held->values) values.push_back(valid_utf8(value));
  return {{"values", std::move(values)},
          {"type", valid_utf8(held->type)},
          {"compulsory", held->compulsory}};
}

Json file_json(const std::string& path) {
  return path.empty() ? Json() : Json{{"file", valid_utf8(path)}};
}

}  // namespace

std::vector<TemplateAttribute> read_attributes(const ParserModule& module, const std::string& path,
                                               std::string* fault) {
  std::vector<TemplateAttribute> attributes;
  if (path.empty()) return attributes;
  *fault = StoredTemplate(module).walk(path, collect, &attributes);
  if (!fault->empty()) attributes.clear();
  return attributes;
}

std::vector<AttributeDifference> find_differences(const std::vector<TemplateAttribute>& before,
                                                  const std::vector<TemplateAttribute>& after) {
  Node root;
  lay(after, kAfter, &root);
  lay(before, kBefore, &root);
  std::vector<AttributeDifference> differences;
  for (const auto& [service, invocations] : root.children()) {
    for (const auto& [invocation, attributes] : invocations.children()) {
      for (const auto& [attribute, node] : attributes.children()) {
        if (!differs(node)) continue;
        differences.push_back({std::string(service), std::string(invocation),
                               std::string(attribute), copied(node.held[kBefore]),
                               copied(node.held[kAfter])});
      }
    }
  }
  return differences;
}

Json difference_json(const ParserModule& module, const std::string& before,
                     const std::string& after) {
  std::string fault;
  const auto old_attributes = read_attributes(module, before, &fault);
  std::vector<TemplateAttribute> new_attributes;
  if (fault.empty()) new_attributes = read_attributes(module, after, &fault);
  Json rows = Json::array();
  if (fault.empty()) {
    for (const AttributeDifference& row : find_differences(old_attributes, new_attributes)) {
      rows.push_back({{"service", valid_utf8(row.service)},
                      {"invocation", valid_utf8(row.invocation)},
                      {"attribute", valid_utf8(row.attribute)},
                      {"before", held_json(row.before)},
                      {"after", held_json(row.after)}});
    }
  }
  return {{"before", file_json(before)},
          {"after", file_json(after)},
          {"attributes", std::move(rows)},
          {"fault", fault.empty() ? Json() : Json(valid_utf8(fault))}};
}

}  // namespace platen
