// The private directory made and removed.
// SPDX-License-Identifier: MIT
#include "runtime_directory.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

namespace platen {

RuntimeDirectory::~RuntimeDirectory() {
  if (!path_.empty()) {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
}

bool RuntimeDirectory::make(std::string* error) {
  const char* parent = getenv("TMPDIR");
  std::string path = std::string(parent == nullptr ? "/tmp" : parent) + "/platend-XXXXXX";
  if (mkdtemp(path.data()) == nullptr) {
    *error = "a directory such as " + path + " cannot be made: " + strerror(errno) +
             "; set TMPDIR to one where platend may write";
    return false;
  }
  path_ = path;
  return true;
}

}  // namespace platen
