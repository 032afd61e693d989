// All template files of the device's pools, for backups.
// SPDX-License-Identifier: MIT
#ifndef HOST_POOL_FILES_H_
#define HOST_POOL_FILES_H_

#include <string>
#include <string_view>
#include <vector>

namespace platen {

// A file or directory of a pool: where the device knows it, where it is now, and its rights.
struct PoolEntry {
  std::string name;  // "/tmp/template/pool/web/A.KTP"
  std::string path;  // the same, or below the data directory that stands for the device
  unsigned mode;     // the permission bits
};

struct PoolEntries {
  std::vector<PoolEntry> directories;  // those below the pools' own, each behind the one above it
  std::vector<PoolEntry> templates;    // by name
};

// Lists the pools of the device, or of the device tree `data`, whether their templates can be read or
// not; links and other files are left out, and a pool that is not there is empty. Throws
// std::filesystem::filesystem_error, which names the directory, when one cannot be read.
PoolEntries pool_entries(const std::string& data);

// Whether `name` is one that pool_entries() gives to a template, or to a directory.
bool is_pool_template(std::string_view name);
bool is_pool_directory(std::string_view name);

}  // namespace platen

#endif  // HOST_POOL_FILES_H_
