// The tokens of the clone file, and their phrases in every language.
// SPDX-License-Identifier: MIT
#include "clone_phrases.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string_view>

#include "device/table_file.h"
#include "platform/xpaths.h"

namespace platen {
namespace {

namespace fs = std::filesystem;

// Adds the tokens of one line: its second field, and each from the fourth on.
void add_tokens(const std::string& line, std::set<std::string>* tokens) {
  std::istringstream fields(line);
  std::string field;
  for (int number = 1; std::getline(fields, field, ','); ++number) {
    if (number == 1 || number == 3) continue;
    tokens->insert(std::to_string(static_cast<int>(std::strtol(field.c_str(), nullptr, 10))));
  }
}

std::set<std::string> clone_tokens() {
  const char* directory = xpaths_get_path("nc_dlms_data");
  if (directory == nullptr) return {};
  std::ifstream file(fs::path(directory) / "clone/data/clone_file_webui");
  std::set<std::string> tokens;
  for (std::string line; std::getline(file, line);) add_tokens(line, &tokens);
  return tokens;
}

void check_file(const std::string& file, const std::set<std::string>& tokens,
                std::vector<std::string>* faults) {
  std::vector<TableRow> rows;
  std::string error;
  if (!read_table_file(file, &rows, &error)) return faults->push_back(error);
  for (const TableRow& row : rows) {
    if (!tokens.contains(row.key) || row.text.find_first_of(",?") == std::string::npos) continue;
    faults->push_back(table_fault(file, row.line,
                                  "the phrase " + row.key +
                                      " names a clone group and may hold neither \",\" nor \"?\"; "
                                      "write it without"));
  }
}

std::set<std::string> phrase_files(const std::string& directory) {
  std::set<std::string> files;
  std::error_code missing;
  for (const fs::directory_entry& entry : fs::directory_iterator(directory, missing)) {
    if (entry.path().extension() == ".txt") files.insert(entry.path());
  }
  return files;
}

}  // namespace

std::vector<std::string> clone_phrase_faults(const std::vector<std::string>& directories) {
  const std::set<std::string> tokens = clone_tokens();
  std::vector<std::string> faults;
  if (tokens.empty()) return faults;
  for (const std::string& directory : directories) {
    for (const std::string& file : phrase_files(directory)) check_file(file, tokens, &faults);
  }
  return faults;
}

}  // namespace platen
