// The device's directories looked at.
// SPDX-License-Identifier: MIT
#include "device_directories.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace platen {
namespace {

std::string own_user() {
  const passwd* user = getpwuid(geteuid());
  return user == nullptr ? std::to_string(geteuid()) : user->pw_name;
}

std::string fault_of(const DeviceDirectory& directory) {
  const std::string path = directory.path;
  struct stat status {};
  if (stat(directory.path, &status) != 0) {
    const std::string reason = strerror(errno);
    return reason + "; make it: install -d -o " + own_user() + " " + path;
  }
  if (!S_ISDIR(status.st_mode)) {
    return "it is no directory; move away what is there";
  }
  if (access(directory.path, R_OK | W_OK | X_OK) != 0) {
    const std::string reason = strerror(errno);
    return reason + "; give it to the user that platend runs as: chown " + own_user() + " " + path;
  }
  return "";
}

}  // namespace

std::vector<std::string> device_directory_faults() {
  std::vector<std::string> faults;
  for (const DeviceDirectory& directory : kDeviceDirectories) {
    const std::string fault = fault_of(directory);
    if (!fault.empty()) {
      faults.push_back(std::string(directory.path) + " (" + directory.holds +
                       ") cannot be used: " + fault);
    }
  }
  return faults;
}

}  // namespace platen
