// Text files of one key and one text a line, as the phrases and the paths are kept.
// SPDX-License-Identifier: MIT
#include "device/table_file.h"

#include <iconv.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <map>
#include <string_view>

namespace platen {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

bool is_utf8(std::string_view line) {
  std::string bytes(line);
  std::string characters(4 * bytes.size(), '\0');
  char* from = bytes.data();
  char* to = characters.data();
  size_t bytes_left = bytes.size();
  size_t room_left = characters.size();
  iconv_t conversion = iconv_open("UCS-4LE", "UTF-8");
  size_t failed = iconv(conversion, &from, &bytes_left, &to, &room_left);
  iconv_close(conversion);
  return failed == 0;
}

// What is wrong with the line "key<TAB>text"; empty when nothing is.
std::string row_fault(std::string_view line, size_t tab) {
  if (!is_utf8(line)) return "not UTF-8; save the file in this encoding";
  if (tab == std::string_view::npos) return "no tab between key and text";
  if (tab == 0) return "no key before the tab";
  if (tab + 1 == line.size()) return "no text after the tab";
  return "";
}

// The part of `line` that counts: without what editors of other systems add.
std::string_view trim_line(std::string_view line, bool first) {
  if (first && line.starts_with(kByteOrderMark)) line.remove_prefix(kByteOrderMark.size());
  if (line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

bool read_rows(std::istream& input, const std::string& file, std::vector<TableRow>* rows,
               std::string* error) {
  std::map<std::string, int> seen;
  std::string read;
  for (int number = 1; std::getline(input, read); ++number) {
    std::string_view line = trim_line(read, number == 1);
    if (line.empty() || line.front() == '#') continue;
    size_t tab = line.find('\t');
    std::string fault = row_fault(line, tab);
    if (fault.empty()) {
      TableRow row{number, std::string(line.substr(0, tab)), std::string(line.substr(tab + 1))};
      auto [other, added] = seen.emplace(row.key, number);
      if (added) {
        rows->push_back(std::move(row));
        continue;
      }
      fault = "'" + row.key + "' already stands in line " + std::to_string(other->second);
    }
    *error = table_fault(file, number, fault);
    return false;
  }
  return true;
}

}  // namespace

std::string table_fault(const std::string& file, int line, const std::string& reason) {
  return file + ":" + std::to_string(line) + ": " + reason;
}

bool read_table_file(const std::string& file, std::vector<TableRow>* rows, std::string* error) {
  errno = 0;
  std::ifstream input(file, std::ios::binary);
  std::vector<TableRow> read;
  if (input && !read_rows(input, file, &read, error)) return false;
  // The end of the file sets failbit as well; badbit alone tells that reading failed.
  if (!input.is_open() || input.bad()) {
    *error = file + ": cannot be read: " + std::strerror(errno);
    return false;
  }
  *rows = std::move(read);
  return true;
}

}  // namespace platen
