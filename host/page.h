// A page ready to be expanded: its text and its tags, includes resolved, every rule checked.
// SPDX-License-Identifier: MIT
#ifndef HOST_PAGE_H_
#define HOST_PAGE_H_

#include <sys/stat.h>

#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "page_source.h"
#include "parser_functions.h"

namespace platen {

enum class TagKind {
  parser,
  include,
  reason,
  phrase,
  open_template,
  token,
  languages,
  login,
  posted,
  notice,
  page,
  audit,
  status,
  accounts,
  jobs,
  mailbox,
  session,
  difference,
  versions,
  factory,
  deleted,
  clone,
  upload,
};

struct PageText {
  Position at;
  std::string text;
};

// A tag with its attributes understood.
struct PageTag {
  Position at;
  TagKind kind;
  const ParserFunction* function = nullptr;  // of a parser tag
  std::string argument;                      // the function's argument, the file or the phrase
  Format format = Format::none;
  unsigned places = 0;  // where its output may stand; 0 = it prints nothing
  std::string label;    // what messages call it
};

using PageItem = std::variant<PageText, PageTag>;

// A file that a page was read from, as it was then.
struct SourceFile {
  std::string path;
  dev_t device;
  ino_t inode;
  timespec modified;
  off_t size;
};

struct Page {
  std::vector<PageItem> items;
  std::vector<Fault> faults;        // sorted by position; a page with faults is not expanded
  std::vector<SourceFile> sources;  // the page itself and what it includes
};

// Where a page is found: `name` below the directory `root`.
struct PageFile {
  std::string path;   // absolute; empty when there is no such page
  std::string error;  // why not
};

// Finds a regular file below `root`. No part of `name` may be empty or begin with a dot, and no
// symbolic link may lead out of `root`.
PageFile find_page_file(const std::string& root, std::string_view name);

// The suffixes of pages.
bool is_html_page(std::string_view name);
bool is_script_page(std::string_view name);
bool is_php_page(std::string_view name);

// Reads the page `name` below `root`, and what it includes, and checks it whole.
Page load_page(const std::string& root, const std::string& name);

// Tells whether the page has no faults and none of its files has changed since it was read. A page
// with faults is never fresh: what it lacks may have come into being.
bool is_fresh(const Page& page);

}  // namespace platen

#endif  // HOST_PAGE_H_
