// A table file read into the configuration.
// SPDX-License-Identifier: MIT
#include "first_settings.h"

#include <filesystem>
#include <vector>

#include "device/table_file.h"
#include "platform/configapi.h"

namespace platen {

bool store_first_settings(const std::string& file, std::string* error) {
  std::vector<TableRow> rows;
  std::error_code unknown;
  if (!std::filesystem::exists(file, unknown)) return true;
  if (!read_table_file(file, &rows, error)) return false;
  for (const TableRow& row : rows) {
    if (Cfg_SetAttrValue(row.key.c_str(), row.text.c_str()) == CFG_OK) continue;
    *error = table_fault(file, row.line, "the setting cannot be stored; the log may say why");
    return false;
  }
  return true;
}

}  // namespace platen
