// Finds the PHP code of a page.
// SPDX-License-Identifier: MIT
#ifndef HOST_PHP_CODE_H_
#define HOST_PHP_CODE_H_

#include <optional>
#include <string_view>
#include <vector>

namespace platen {

// A part of a text: text[begin, end).
struct PhpPart {
  size_t begin;
  size_t end;

  bool holds(size_t offset) const { return begin <= offset && offset < end; }
};

struct PhpCode {
  std::vector<PhpPart> segments;   // from "<?php" or "<?=" to behind "?>" or the end of the page
  std::vector<PhpPart> quoted;     // in them: strings, with the code embedded in them, and comments
  std::optional<size_t> unclosed;  // where a string or comment begins that nothing closes; the
                                   // reading stops there
};

// Reads a page far enough to tell its PHP from its HTML, and code from strings and comments.
PhpCode find_php_code(std::string_view page);

}  // namespace platen

#endif  // HOST_PHP_CODE_H_
