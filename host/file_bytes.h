// Files as a whole: read, and put into their place.
// SPDX-License-Identifier: MIT
#ifndef HOST_FILE_BYTES_H_
#define HOST_FILE_BYTES_H_

#include <optional>
#include <string>

namespace platen {

// The bytes of a regular file, no link; nothing, with errno set, when there is none that can be
// read.
std::optional<std::string> file_bytes(const std::string& path);

// Brings the file `made` to the disk and then renames it to `path` in the same directory: whatever
// happens, `path` is the old file or the new one. Returns what failed, or ""; `made` is removed then.
std::string put_in_place(const std::string& made, const std::string& path);

}  // namespace platen

#endif  // HOST_FILE_BYTES_H_
