// The list of clone groups, which is one text.
// SPDX-License-Identifier: MIT
#ifndef HOST_CLONE_GROUPS_H_
#define HOST_CLONE_GROUPS_H_

#include <string_view>

#include "output_format.h"

namespace platen {

// Reads the list that HTTP_Parser_Clone_fn prints: `[{"token": 10, "name": "...", "subs": ["..."]}]`.
// A list that was cut for its length ends with the last group of which token and name are there.
// Requires: UTF-8, and names without "," and "?".
Json clone_groups(std::string_view text);

}  // namespace platen

#endif  // HOST_CLONE_GROUPS_H_
