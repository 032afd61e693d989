// Walks through the pools.
// SPDX-License-Identifier: MIT
#include "pool_files.h"

#include <algorithm>
#include <filesystem>

#include "device_directories.h"
#include "field_rules.h"

namespace platen {
namespace {

namespace fs = std::filesystem;

void list_pool(const std::string& pool, const std::string& root, PoolEntries* entries) {
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root)) {
    const std::string path = entry.path();
    const fs::file_status status = entry.symlink_status();
    const PoolEntry found = {pool + path.substr(root.size()), path,
                             static_cast<unsigned>(status.permissions()) & 07777U};
    if (fs::is_directory(status)) entries->directories.push_back(found);
    if (fs::is_regular_file(status) && is_template_name(path)) entries->templates.push_back(found);
  }
}

bool is_in_pool(std::string_view name) {
  const std::string_view pool = pool_of(name);
  return !pool.empty() && name.size() > pool.size() + 1 &&
         name.find('\0') == std::string_view::npos && !name.ends_with('/') &&
         fs::path(name).lexically_normal() == std::string(name);
}

}  // namespace

PoolEntries pool_entries(const std::string& data) {
  PoolEntries entries;
  for (const DeviceDirectory& directory : kDeviceDirectories) {
    if (pool_of(directory.path).empty()) continue;
    const std::string root = data.empty() ? directory.path : data + "/" + directory.part;
    if (fs::exists(root)) list_pool(directory.path, root, &entries);
  }
  std::ranges::sort(entries.directories, {}, &PoolEntry::name);
  std::ranges::sort(entries.templates, {}, &PoolEntry::name);
  return entries;
}

bool is_pool_template(std::string_view name) { return is_in_pool(name) && is_template_name(name); }

bool is_pool_directory(std::string_view name) { return is_in_pool(name); }

}  // namespace platen
