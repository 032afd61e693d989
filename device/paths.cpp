// The device's directories by key, read from one text file.
// SPDX-License-Identifier: MIT
#include "device/paths.h"

#include <cerrno>
#include <map>
#include <vector>

#include "device/table_file.h"
#include "platform/xpaths.h"

namespace platen {
namespace {

std::map<std::string, std::string, std::less<>>& paths() {
  static std::map<std::string, std::string, std::less<>> loaded;
  return loaded;
}

std::string join(const std::string& directory, const std::string& name) {
  return directory.ends_with('/') ? directory + name : directory + "/" + name;
}

std::string absolute_directory(const std::string& base, const std::string& directory) {
  std::string path = directory.front() == '/' ? directory : join(base, directory);
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  return path;
}

}  // namespace

bool load_paths(const std::string& file, const std::string& base, std::string* error) {
  std::vector<TableRow> rows;
  if (!read_table_file(file, &rows, error)) return false;
  paths().clear();
  for (const TableRow& row : rows) paths()[row.key] = absolute_directory(base, row.text);
  return true;
}

}  // namespace platen

const char* xpaths_get_path(const char* key) {
  if (key == nullptr) return nullptr;
  auto found = platen::paths().find(std::string_view(key));
  return found == platen::paths().end() ? nullptr : found->second.c_str();
}

FILE* xpaths_open_file(const char* directory, const char* name, const char* mode) {
  if (directory == nullptr || name == nullptr || mode == nullptr) {
    errno = EINVAL;
    return nullptr;
  }
  return fopen(platen::join(directory, name).c_str(), (std::string(mode) + "e").c_str());
}
