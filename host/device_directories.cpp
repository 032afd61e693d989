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

}  // namespace

std::string directory_fault(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) {
    const std::string reason = strerror(errno);
    return reason + "; make it: install -d -o " + own_user() + " " + path;
  }
  if (!S_ISDIR(status.st_mode)) {
    return "it is no directory; move away what is there";
  }
  if (access(path.c_str(), R_OK | W_OK | X_OK) != 0) {
    const std::string reason = strerror(errno);
    return reason + "; give it to the user that platend runs as: chown " + own_user() + " " + path;
  }
  return "";
}

std::vector<std::string> device_directory_faults() {
  std::vector<std::string> faults;
  for (const DeviceDirectory& directory : kDeviceDirectories) {
    const std::string fault = directory_fault(directory.path);
    if (!fault.empty()) {
      faults.push_back(std::string(directory.path) + " (" + directory.holds +
                       ") cannot be used: " + fault);
    }
  }
  return faults;
}

}  // namespace platen
