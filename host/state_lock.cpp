// A lock that goes with its process.
// SPDX-License-Identifier: MIT
#include "state_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <filesystem>

namespace platen {

StateLock::StateLock(const std::string& database_file)
    : directory_(::open(std::filesystem::path(database_file).parent_path().c_str(),
                        O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
  ::flock(directory_, LOCK_EX);
}

StateLock::~StateLock() { ::close(directory_); }

}  // namespace platen
