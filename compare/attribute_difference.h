// What two templates hold differently, attribute by attribute: shared by the host and the command
// line, which read templates each in their way.
// SPDX-License-Identifier: MIT
#ifndef COMPARE_ATTRIBUTE_DIFFERENCE_H_
#define COMPARE_ATTRIBUTE_DIFFERENCE_H_

#include <optional>
#include <string>
#include <vector>

namespace platen {

// What one template holds for an attribute.
struct HeldAttribute {
  std::vector<std::string> values;
  std::string type;
  bool compulsory = false;

  bool operator==(const HeldAttribute&) const = default;
};

// An attribute in its place.
struct TemplateAttribute {
  std::string service;
  std::string invocation;
  std::string attribute;
  HeldAttribute held;
};

// An attribute that one template has and the other lacks, or that differs in its values, their
// order, its type or its compulsory mark.
struct AttributeDifference {
  std::string service;
  std::string invocation;
  std::string attribute;
  std::optional<HeldAttribute> before;
  std::optional<HeldAttribute> after;
};

// Compares two templates. Names are compared by their bytes. The differences come in the order of
// `after`; what only `before` has stands where it stood there, behind what it followed. Comments,
// the order of attributes, and services and invocations without attributes make no difference.
std::vector<AttributeDifference> find_differences(const std::vector<TemplateAttribute>& before,
                                                  const std::vector<TemplateAttribute>& after);

}  // namespace platen

#endif  // COMPARE_ATTRIBUTE_DIFFERENCE_H_
