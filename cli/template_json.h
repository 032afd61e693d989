// A template as JSON, and back to the text of a template file.
// SPDX-License-Identifier: MIT
#ifndef CLI_TEMPLATE_JSON_H_
#define CLI_TEMPLATE_JSON_H_

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "template_file.h"

namespace ktp {

// Members keep the order in which they are documented.
using Json = nlohmann::ordered_json;

// Returns
//   {"services": [{"name", "invocations": [{"name",
//       "attributes": [{"name", "type", "compulsory", "values": [...]}]}]}]}
// Throws Failure (broken) for a text that is not UTF-8: JSON cannot hold it. `path` is for its words.
Json to_json(const std::string& path, const std::vector<Attribute>& attributes);

// One attribute with its address, as an object of a reading verb.
Json attribute_json(const std::string& path, const Attribute& attribute);

// Returns the text of the template that the JSON text describes; members other than those of
// to_json() are refused. Throws Failure (broken), which names line and column, or the member.
std::string from_json(const std::string& path, const std::string& text);

}  // namespace ktp

#endif  // CLI_TEMPLATE_JSON_H_
