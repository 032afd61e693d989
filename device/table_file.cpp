// Text files of one key and one text a line, as the phrases and the paths are kept.
// SPDX-License-Identifier: MIT
#include "device/table_file.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <map>
#include <string_view>

namespace platen {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

// The length of the UTF-8 character at the start of `text`, or 0 when there is none.
size_t utf8_character(std::string_view text) {
  struct Form {
    unsigned char first, last;      // range of the first byte
    unsigned char lowest, highest;  // range of the second byte
    size_t length;                  // bytes of the character
  };
  static constexpr Form kForms[] = {
      {0x01, 0x7F, 0x00, 0x00, 1}, {0xC2, 0xDF, 0x80, 0xBF, 2}, {0xE0, 0xE0, 0xA0, 0xBF, 3},
      {0xE1, 0xEC, 0x80, 0xBF, 3}, {0xED, 0xED, 0x80, 0x9F, 3}, {0xEE, 0xEF, 0x80, 0xBF, 3},
      {0xF0, 0xF0, 0x90, 0xBF, 4}, {0xF1, 0xF3, 0x80, 0xBF, 4}, {0xF4, 0xF4, 0x80, 0x8F, 4},
  };
  auto byte = [&](size_t at) { return static_cast<unsigned char>(text[at]); };
  for (const Form& form : kForms) {
    if (byte(0) < form.first || byte(0) > form.last) continue;
    if (text.size() < form.length) return 0;
    if (form.length > 1 && (byte(1) < form.lowest || byte(1) > form.highest)) return 0;
    for (size_t at = 2; at < form.length; ++at) {
      if (byte(at) < 0x80 || byte(at) > 0xBF) return 0;
    }
    return form.length;
  }
  return 0;
}

bool is_utf8(std::string_view text) {
  while (!text.empty()) {
    size_t length = utf8_character(text);
    if (length == 0) return false;
    text.remove_prefix(length);
  }
  return true;
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
