// What two template files hold differently, attribute by attribute.
// SPDX-License-Identifier: MIT
#ifndef HOST_TEMPLATE_DIFFERENCE_H_
#define HOST_TEMPLATE_DIFFERENCE_H_

#include <optional>
#include <string>
#include <vector>

#include "output_format.h"
#include "parser_module.h"

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

// The attributes of the template file `path`, in its order; none for an empty path. On failure sets
// `fault` to the store's words, "FILE:LINE:COLUMN: reason" or "FILE: reason".
std::vector<TemplateAttribute> read_attributes(const ParserModule& module, const std::string& path,
                                               std::string* fault);

// Compares two templates. Names are compared by their bytes. The differences come in the order of
// `after`; what only `before` has stands where it stood there, behind what it followed. Comments,
// the order of attributes, and services and invocations without attributes make no difference.
std::vector<AttributeDifference> find_differences(const std::vector<TemplateAttribute>& before,
                                                  const std::vector<TemplateAttribute>& after);

// Compares two template files; an empty path is a template without attributes. Returns
//   {"before": {"file": PATH} or null, "after": {"file": PATH} or null,
//    "attributes": [{"service", "invocation", "attribute",
//                    "before": {"values": [...], "type", "compulsory"} or null, "after": the same}],
//    "fault": null or why a file cannot be read, in which case there are no attributes}
Json difference_json(const ParserModule& module, const std::string& before,
                     const std::string& after);

}  // namespace platen

#endif  // HOST_TEMPLATE_DIFFERENCE_H_
