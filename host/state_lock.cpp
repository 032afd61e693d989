// A lock that goes with its process.
// SPDX-License-Identifier: MIT
#include "state_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <set>

#include "platform/log.h"
#include "said.h"

namespace platen {
namespace {

// The directories that this process holds; a worker does one thing at a time.
std::set<std::string>& held() {
  static std::set<std::string> paths;
  return paths;
}

// Waits through signals.
bool lock(int directory) {
  while (::flock(directory, LOCK_EX) != 0) {
    if (errno != EINTR) return false;
  }
  return true;
}

}  // namespace

StateLock::StateLock(const std::string& database_file) {
  std::error_code fault;
  path_ = std::filesystem::canonical(std::filesystem::path(database_file).parent_path(), fault);
  if (held().contains(path_)) return;
  directory_ = ::open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (directory_ >= 0 && lock(directory_)) {
    held().insert(path_);
    return;
  }
  Log_Entry(LOG_LEVEL_ERROR, "state_lock.cpp", __LINE__,
            "the directory of %s cannot be locked: %s; let platend read it", database_file.c_str(),
            std::strerror(errno));
  error_ = said(
      "The device's state cannot be locked. Tell the administrator; the log says what is wrong.");
}

StateLock::~StateLock() {
  if (directory_ < 0) return;
  if (error_.empty()) held().erase(path_);
  ::close(directory_);
}

}  // namespace platen
