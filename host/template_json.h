// The open template as JSON.
// SPDX-License-Identifier: MIT
#ifndef HOST_TEMPLATE_JSON_H_
#define HOST_TEMPLATE_JSON_H_

#include "output_format.h"
#include "parser_module.h"

namespace platen {

// Returns, in the order of the file,
//   {"file": PATH, "services": [{"name", "invocations": [{"name", "attributes": [
//     {"name", "type", "compulsory": true or false, "values": [...]}]}]}]}
// or null when `open_template`, the request record's parserTemplate, is no open template.
Json template_json(const ParserModule& module, void* open_template);

}  // namespace platen

#endif  // HOST_TEMPLATE_JSON_H_
