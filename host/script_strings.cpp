// A reader of scripts that knows strings, comments, template literals and regular expressions.
// SPDX-License-Identifier: MIT
#include "script_strings.h"

#include <algorithm>
#include <string>

namespace platen {
namespace {

constexpr size_t kNone = std::string_view::npos;

bool is_word(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
         c == '$' || static_cast<unsigned char>(c) >= 0x80;
}

// The words after which a slash begins a regular expression.
constexpr std::string_view kOperatorWords[] = {"return", "typeof", "case",  "in",        "of",
                                               "delete", "void",   "throw", "else",      "do",
                                               "new",    "yield",  "await", "instanceof"};

class ScriptReader {
 public:
  explicit ScriptReader(std::string_view script) : script_(script) {}

  ScriptStrings read() {
    while (at_ < script_.size() && !found_.unclosed) read_next();
    if (!found_.unclosed && !templates_.empty()) found_.unclosed = templates_.back().begin;
    return std::move(found_);
  }

 private:
  // A template literal whose ${...} is being read.
  struct Template {
    size_t begin;
    int braces;  // open within the ${...}
  };

  void read_next() {
    const char c = script_[at_];
    if (c == '"' || c == '\'') return read_string(c);
    if (c == '`') return read_template(at_);
    if (c == '/' && next_is('/')) return skip_to_line_end();
    if (script_.substr(at_).starts_with("<!--")) return skip_to_line_end();
    if (c == '/' && next_is('*')) return skip_comment();
    if (c == '/' && begins_expression()) return read_expression();
    if (is_word(c)) return read_word();
    if (c == '{' || c == '}') return read_brace(c);
    if ((c == '+' || c == '-') && next_is(c)) return read_step();
    if (c > ' ') last_ = script_.substr(at_, 1);
    ++at_;
  }

  // Reads "++" or "--"; no expression that begins with a slash can follow either.
  void read_step() {
    last_ = ")";
    at_ += 2;
  }

  bool next_is(char c) const { return at_ + 1 < script_.size() && script_[at_ + 1] == c; }

  void read_string(char quote) {
    const size_t begin = at_;
    const size_t end = find_unescaped(begin + 1, std::string(1, quote) + "\n\r");
    if (end == kNone || script_[end] != quote) return fail(begin);
    found_.strings.push_back({begin + 1, end});
    last_ = script_.substr(end, 1);
    at_ = end + 1;
  }

  // Reads template text from `at_`, which is its backtick or the brace that ends a ${...}.
  void read_template(size_t begin) {
    size_t end = at_;
    do {
      end = find_unescaped(end + 1, "`$");
      if (end == kNone) return fail(begin);
    } while (script_[end] == '$' && !script_.substr(end + 1).starts_with('{'));
    last_ = script_.substr(end, 1);
    at_ = end + 1;
    if (last_ == "`") return;
    templates_.push_back({begin, 0});
    last_ = "{";
    ++at_;
  }

  void read_brace(char c) {
    if (!templates_.empty() && c == '}' && templates_.back().braces == 0) {
      const size_t begin = templates_.back().begin;
      templates_.pop_back();
      return read_template(begin);
    }
    if (!templates_.empty()) templates_.back().braces += c == '{' ? 1 : -1;
    last_ = script_.substr(at_, 1);
    ++at_;
  }

  void skip_to_line_end() { at_ = std::min(script_.find_first_of("\n\r", at_), script_.size()); }

  void skip_comment() {
    const size_t end = script_.find("*/", at_ + 2);
    if (end == kNone) return fail(at_);
    at_ = end + 2;
  }

  bool begins_expression() const {
    if (last_.empty()) return true;
    if (is_word(last_.back()))
      return std::ranges::find(kOperatorWords, last_) != std::end(kOperatorWords);
    return std::string_view(")]\"'`").find(last_.back()) == kNone;
  }

  void read_expression() {
    const size_t begin = at_;
    bool in_class = false;
    for (size_t end = begin + 1;; ++end) {
      end = find_unescaped(end, "/[]\n\r");
      if (end == kNone || script_[end] == '\n' || script_[end] == '\r') return fail(begin);
      if (script_[end] == '/' && !in_class) {
        at_ = end + 1;
        last_ = ")";
        return;
      }
      if (script_[end] != '/') in_class = script_[end] == '[';
    }
  }

  void read_word() {
    const size_t begin = at_;
    while (at_ < script_.size() && is_word(script_[at_])) ++at_;
    if (begins_statement()) found_.statements.push_back({begin, at_});
    last_ = script_.substr(begin, at_ - begin);
  }

  bool begins_statement() const {
    return templates_.empty() && (last_.empty() || std::string_view(";{}").find(last_) != kNone);
  }

  // The first of `wanted` from `from` on that no backslash precedes.
  size_t find_unescaped(size_t from, const std::string& wanted) const {
    const std::string stops = wanted + '\\';
    for (size_t at = script_.find_first_of(stops, from); at != kNone;
         at = script_.find_first_of(stops, at + 2)) {
      if (script_[at] != '\\') return at;
    }
    return kNone;
  }

  void fail(size_t begin) { found_.unclosed = begin; }

  std::string_view script_;
  size_t at_ = 0;
  std::string_view last_;  // the last word, or the last mark, that is no comment
  std::vector<Template> templates_;
  ScriptStrings found_;
};

}  // namespace

ScriptStrings find_script_strings(std::string_view script) { return ScriptReader(script).read(); }

}  // namespace platen
