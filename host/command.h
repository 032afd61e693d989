// What the commands of platend share: the state that a serving platend has made.
// SPDX-License-Identifier: MIT
#ifndef HOST_COMMAND_H_
#define HOST_COMMAND_H_

#include <cstdio>
#include <string>

namespace platen {

// Tells whether the database file is there; prints for `command`, as "platend account", what to do
// when it is not. A command makes none.
bool has_database(const std::string& file, const char* command, std::FILE* err);

}  // namespace platen

#endif  // HOST_COMMAND_H_
