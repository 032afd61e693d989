// The device's own directories, which the module knows by their fixed paths.
// SPDX-License-Identifier: MIT
#ifndef HOST_DEVICE_DIRECTORIES_H_
#define HOST_DEVICE_DIRECTORIES_H_

#include <string>
#include <vector>

namespace platen {

struct DeviceDirectory {
  const char* part;   // its name in a data directory
  const char* path;   // on the device
  const char* holds;  // what lies there
};

inline constexpr DeviceDirectory kDeviceDirectories[] = {
    {"pool", "/tmp/template/pool", "templates"},
    {"tarn", "/tarn/template/pool", "templates that last"},
    {"spool", "/var/spool/nc", "mailbox folders"},
};

// Why a directory is missing or may not be read and written, with what to do; empty when it may.
std::string directory_fault(const std::string& path);

// One sentence for each of them that is missing or may not be read and written, with what to do.
std::vector<std::string> device_directory_faults();

}  // namespace platen

#endif  // HOST_DEVICE_DIRECTORIES_H_
