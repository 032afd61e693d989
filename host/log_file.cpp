// Standard error led into a file.
// SPDX-License-Identifier: MIT
#include "log_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace platen {

bool redirect_log(const std::string& file, std::string* error) {
  const int log = open(file.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0640);
  if (log < 0 || dup2(log, STDERR_FILENO) < 0) {
    *error = "the log file " + file + " cannot be written: " + strerror(errno) +
             "; choose another with --log-file";
    return false;
  }
  close(log);
  return true;
}

}  // namespace platen
