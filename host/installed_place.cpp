// Places found from the program's own file.
// SPDX-License-Identifier: MIT
#include "installed_place.h"

#include <filesystem>

namespace platen {

std::string installed_place(std::string_view place) {
  namespace fs = std::filesystem;
  return fs::weakly_canonical(fs::read_symlink("/proc/self/exe").parent_path() / place);
}

}  // namespace platen
