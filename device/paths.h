// The device's directories by key, read from one text file.
// SPDX-License-Identifier: MIT
//
// A line is a key, a tab and a directory; empty lines and lines that begin with "#" are skipped.
// xpaths_get_path() of platform/xpaths.h reads from what was loaded.
#ifndef DEVICE_PATHS_H_
#define DEVICE_PATHS_H_

#include <string>

namespace platen {

// Loads `file` in place of what was loaded before. A relative directory in it is below `base`.
// Returns false and sets `error` to a sentence that names the file, and the line where there is
// one, when the file cannot be read, a line is not as described or a key stands twice; what was
// loaded before stays in use. The directories need not exist.
bool load_paths(const std::string& file, const std::string& base, std::string* error);

}  // namespace platen

#endif  // DEVICE_PATHS_H_
