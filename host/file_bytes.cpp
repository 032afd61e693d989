// Files as a whole: read, and put into their place.
// SPDX-License-Identifier: MIT
#include "file_bytes.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

namespace platen {
namespace {

bool sync(const std::string& path) {
  const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  const bool done = file >= 0 && ::fsync(file) == 0;
  if (file >= 0) ::close(file);
  return done;
}

}  // namespace

std::optional<std::string> file_bytes(const std::string& path) {
  const int file = ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  if (file < 0) return std::nullopt;
  struct stat status {};
  const bool is_regular = ::fstat(file, &status) == 0 && S_ISREG(status.st_mode);
  std::string bytes(is_regular ? static_cast<size_t>(status.st_size) : 0, '\0');
  size_t count = 0;
  ssize_t more = is_regular ? 1 : -1;
  while (more > 0 && count < bytes.size()) {
    more = ::read(file, bytes.data() + count, bytes.size() - count);
    if (more > 0) count += static_cast<size_t>(more);
  }
  const int reason = !is_regular ? EINVAL : more < 0 ? errno : EIO;
  ::close(file);
  if (is_regular && count == bytes.size()) return bytes;
  errno = reason;
  return std::nullopt;
}

std::string put_in_place(const std::string& made, const std::string& path) {
  const std::string directory = std::filesystem::path(path).parent_path();
  if (sync(made) && std::rename(made.c_str(), path.c_str()) == 0 &&
      sync(directory.empty() ? "." : directory)) {
    return "";
  }
  const std::string reason = std::strerror(errno);
  ::unlink(made.c_str());
  return path + " cannot be written: " + reason;
}

}  // namespace platen
