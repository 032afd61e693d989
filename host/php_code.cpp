// A reader of PHP that knows segments, strings, heredocs and comments.
// SPDX-License-Identifier: MIT
#include "php_code.h"

#include <strings.h>

#include <algorithm>
#include <string>

#include "ascii.h"

namespace platen {
namespace {

constexpr size_t kNone = std::string_view::npos;
constexpr std::string_view kBlanks = " \t";
constexpr std::string_view kLineEnds = "\n\r";

bool is_label(char c) {
  return is_letter_or_digit(c) || c == '_' || static_cast<unsigned char>(c) >= 0x80;
}

// Whether "<?" begins PHP here; "<?xml" is text.
bool opens_php(std::string_view rest) {
  constexpr std::string_view kWord = "<?php";
  if (rest.starts_with("<?=")) return true;
  return rest.size() >= kWord.size() &&
         ::strncasecmp(rest.data(), kWord.data(), kWord.size()) == 0 &&
         (rest.size() == kWord.size() ||
          std::string_view(" \t\n\r").find(rest[kWord.size()]) != kNone);
}

class PhpReader {
 public:
  explicit PhpReader(std::string_view page) : page_(page) {}

  PhpCode read() {
    while (!found_.unclosed) {
      const size_t begin = page_.find("<?", at_);
      if (begin == kNone) break;
      at_ = begin + 2;
      if (!opens_php(page_.substr(begin))) continue;
      read_segment();
      found_.segments.push_back({begin, at_});
    }
    return std::move(found_);
  }

 private:
  bool is_at(std::string_view word) const { return page_.substr(at_).starts_with(word); }
  bool goes_on() const { return at_ < page_.size() && !found_.unclosed; }

  void read_segment() {
    while (goes_on() && !is_at("?>")) read_next();
    if (is_at("?>")) at_ += 2;
  }

  void read_next() {
    const size_t begin = at_;
    if (is_at("'")) {
      read_single();
    } else if (is_at("\"") || is_at("`")) {
      read_double(page_[at_]);
    } else if (is_at("/*")) {
      skip_past("*/");
    } else if (is_at("//") || (is_at("#") && !is_at("#["))) {
      skip_line_comment();
    } else if (!is_at("<<<") || !read_heredoc()) {
      ++at_;
      return;
    }
    found_.quoted.push_back({begin, at_});
  }

  void skip_past(std::string_view word) {
    const size_t end = page_.find(word, at_ + 2);
    if (end == kNone) return fail(at_);
    at_ = end + word.size();
  }

  // A segment ends in a line comment as well.
  void skip_line_comment() {
    const size_t line_end = page_.find_first_of(kLineEnds, at_);
    at_ = std::min({line_end, page_.find("?>", at_), page_.size()});
  }

  void read_single() {
    const size_t begin = at_++;
    while (at_ < page_.size() && page_[at_] != '\'') at_ += page_[at_] == '\\' ? 2 : 1;
    close(begin);
  }

  void read_double(char quote) {
    const size_t begin = at_++;
    while (goes_on() && page_[at_] != quote) read_interpolated();
    close(begin);
  }

  // Steps behind the closing quote.
  void close(size_t begin) {
    if (at_ >= page_.size()) return fail(begin);
    ++at_;
  }

  // Reads a character of a text, or the code embedded in it.
  void read_interpolated() {
    if (is_at("{$") || is_at("${")) return read_embedded();
    const bool escapes =
        page_[at_] == '\\' && at_ + 1 < page_.size() && kLineEnds.find(page_[at_ + 1]) == kNone;
    at_ += escapes ? 2 : 1;
  }

  void read_embedded() {
    const size_t begin = at_;
    at_ += 2;
    for (int open = 1; goes_on();) {
      open += is_at("{") ? 1 : 0;
      open -= is_at("}") ? 1 : 0;
      read_next();
      if (open == 0) return;
    }
    fail(begin);
  }

  // Reads <<<WORD and the lines up to the one that begins with WORD. False when it is no such
  // thing.
  bool read_heredoc() {
    const size_t begin = at_;
    size_t at = page_.find_first_not_of(kBlanks, begin + 3);
    const char quote = at != kNone && (page_[at] == '\'' || page_[at] == '"') ? page_[at] : '\0';
    if (quote != '\0') ++at;
    const std::string_view word = label_at(at);
    if (word.empty()) return false;
    at_ = std::min(page_.find_first_of(kLineEnds, at), page_.size());
    while (goes_on()) {
      if (read_heredoc_end(word)) return true;
      read_line(quote == '\'');
    }
    fail(begin);
    return true;
  }

  std::string_view label_at(size_t at) const {
    if (at >= page_.size() || is_digit(page_[at])) return "";
    size_t end = at;
    while (end < page_.size() && is_label(page_[end])) ++end;
    return page_.substr(at, end - at);
  }

  // Stands at a line end: steps behind the word when the next line begins with it.
  bool read_heredoc_end(std::string_view word) {
    const size_t at = page_.find_first_not_of(" \t\n\r", at_);
    if (at == kNone || label_at(at) != word) return false;
    at_ = at + word.size();
    return true;
  }

  // Steps to the next line end.
  void read_line(bool raw) {
    at_ = std::min(page_.find_first_not_of(kLineEnds, at_), page_.size());
    while (goes_on() && kLineEnds.find(page_[at_]) == kNone) {
      if (raw) {
        ++at_;
      } else {
        read_interpolated();
      }
    }
  }

  void fail(size_t begin) {
    if (!found_.unclosed) found_.unclosed = begin;
    at_ = page_.size();
  }

  std::string_view page_;
  size_t at_ = 0;
  PhpCode found_;
};

}  // namespace

PhpCode find_php_code(std::string_view page) { return PhpReader(page).read(); }

}  // namespace platen
