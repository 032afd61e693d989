// The target of a request: path and query decoded.
// SPDX-License-Identifier: MIT
#ifndef HOST_QUERY_H_
#define HOST_QUERY_H_

#include <string>
#include <string_view>
#include <vector>

#include "http_message.h"

namespace platen {

// Decodes the path of a request target (what stands before "?"). Returns false and sets `error` to
// a sentence for the user when an escape is broken, a NUL is in it, or it does not begin with "/".
bool decode_path(std::string_view encoded, std::string* path, std::string* error);

// Decodes a query or form body ("a=1&b=x+y"): fields in order, repeated names kept, empty pieces
// dropped, "+" is a blank, a piece without "=" is a field with an empty value. Returns false and
// sets `error` to a sentence for the user, naming the field, when an escape is broken or a NUL is
// in it; `fields` holds those before it.
bool decode_query(std::string_view encoded, std::vector<Field>* fields, std::string* error);

// Decodes a request target, path and query. Returns false and sets `error` as those two do.
bool decode_target(std::string_view target, std::string* path, std::vector<Field>* query,
                   std::string* error);

}  // namespace platen

#endif  // HOST_QUERY_H_
