// Lays two templates over each other as one tree of services, invocations and attributes.
// SPDX-License-Identifier: MIT
#include "compare/attribute_difference.h"

#include <array>
#include <list>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace platen {
namespace {

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

}  // namespace

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

}  // namespace platen
