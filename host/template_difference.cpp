// Reads templates through the module, and tells their differences as JSON.
// SPDX-License-Identifier: MIT
#include "template_difference.h"

#include <utility>

#include "stored_template.h"

namespace platen {
namespace {

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
