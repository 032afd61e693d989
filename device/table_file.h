// Text files of one key and one text a line, as the phrases and the paths are kept.
// SPDX-License-Identifier: MIT
#ifndef DEVICE_TABLE_FILE_H_
#define DEVICE_TABLE_FILE_H_

#include <string>
#include <vector>

namespace platen {

struct TableRow {
  int line;  // counted from 1
  std::string key;
  std::string text;
};

// Reads the rows of `file` in their order. A row is a key, a tab and a text that reaches to the end
// of the line; empty lines, lines that begin with "#", a byte order mark and carriage returns at
// line ends are skipped. Returns false and sets `error` to "FILE: reason" or "FILE:LINE: reason"
// when the file cannot be read, a line has no tab, no key or no text or is not UTF-8, or a key
// stands twice.
bool read_table_file(const std::string& file, std::vector<TableRow>* rows, std::string* error);

// "FILE:LINE: reason", the form of every complaint about a row.
std::string table_fault(const std::string& file, int line, const std::string& reason);

}  // namespace platen

#endif  // DEVICE_TABLE_FILE_H_
