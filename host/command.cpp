// What the commands of platend share: the state that a serving platend has made.
// SPDX-License-Identifier: MIT
#include "command.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace platen {

bool has_database(const std::string& file, const char* command, std::FILE* err) {
  if (access(file.c_str(), F_OK) == 0) return true;
  std::fprintf(err, "%s: %s: %s; start platend once, or name its data by --data\n", command,
               file.c_str(), std::strerror(errno));
  return false;
}

}  // namespace platen
