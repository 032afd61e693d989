// Reads and compares template files for pages.
// SPDX-License-Identifier: MIT
#ifndef HOST_TEMPLATE_DIFFERENCE_H_
#define HOST_TEMPLATE_DIFFERENCE_H_

#include <string>
#include <vector>

#include "compare/attribute_difference.h"
#include "output_format.h"
#include "parser_module.h"

namespace platen {

// The attributes of the template file `path`, in its order; none for an empty path. On failure sets
// `fault` to the store's words, "FILE:LINE:COLUMN: reason" or "FILE: reason".
std::vector<TemplateAttribute> read_attributes(const ParserModule& module, const std::string& path,
                                               std::string* fault);

// Compares two template files; an empty path is a template without attributes. Returns
//   {"before": {"file": PATH} or null, "after": {"file": PATH} or null,
//    "attributes": [{"service", "invocation", "attribute",
//                    "before": {"values": [...], "type", "compulsory"} or null, "after": the same}],
//    "fault": null or why a file cannot be read, in which case there are no attributes}
Json difference_json(const ParserModule& module, const std::string& before,
                     const std::string& after);

}  // namespace platen

#endif  // HOST_TEMPLATE_DIFFERENCE_H_
