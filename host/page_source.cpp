// The tag syntax of pages.
// SPDX-License-Identifier: MIT
#include "page_source.h"

#include <algorithm>

namespace platen {
namespace {

constexpr std::string_view kTagStart = "<!--#";
constexpr std::string_view kTagEnd = "-->";

bool is_blank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

bool is_name(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }

// Reads a page from front to back. The first fault stops it.
class SourceReader {
 public:
  SourceReader(const std::string& file, std::string_view text) : at_{file}, rest_(text) {}

  PageSource read() {
    while (!rest_.empty() && !source_.fault) {
      read_text();
      if (!rest_.empty()) read_tag();
    }
    return std::move(source_);
  }

 private:
  void read_text() {
    const std::string_view text = rest_.substr(0, rest_.find(kTagStart));
    if (text.empty()) return;
    source_.pieces.push_back({at_, std::string(text), std::nullopt});
    skip(text.size());
  }

  void read_tag() {
    start_ = at_;
    skip(kTagStart.size());
    SourceTag tag{std::string(read_name()), {}};
    if (tag.name.empty()) return fail(at_, "a tag needs a name after \"<!--#\"");
    while (!source_.fault && !rest_.starts_with(kTagEnd)) read_attribute(&tag);
    if (source_.fault) return;
    skip(kTagEnd.size());
    source_.pieces.push_back({start_, "", std::move(tag)});
  }

  // Reads one attribute, or only the blanks before the tag's end.
  void read_attribute(SourceTag* tag) {
    const bool separated = skip_blanks();
    if (rest_.starts_with(kTagEnd)) return;
    if (rest_.empty()) return fail_unclosed();
    const Position at = at_;
    const std::string name(read_name());
    if (name.empty() || !separated) return fail_unexpected(at, *tag);
    const bool repeated = std::ranges::any_of(
        tag->attributes, [&](const SourceAttribute& other) { return other.name == name; });
    if (repeated) return fail(at, "the attribute " + name + " is given twice");
    if (!rest_.starts_with("=\"")) {
      return fail(
          at, "the attribute " + name + " needs a value in double quotes: " + name + "=\"...\"");
    }
    skip(2);
    tag->attributes.push_back({name, read_value(name, at)});
  }

  std::string read_value(const std::string& name, const Position& at) {
    const size_t end = rest_.find_first_of("\"\n");
    if (end == std::string_view::npos || rest_[end] == '\n') {
      fail(at, "the value of " + name + " is not closed by a double quote on its line");
      return "";
    }
    std::string value = decoded_value(rest_.substr(0, end));
    skip(end + 1);
    return value;
  }

  static std::string decoded_value(std::string_view text) {
    std::string value;
    while (!text.empty()) {
      const bool quote = text.starts_with("&quot;");
      const size_t length = quote ? 6 : text.starts_with("&amp;") ? 5 : 1;
      value += quote ? '"' : text[0];
      text.remove_prefix(length);
    }
    return value;
  }

  std::string_view read_name() {
    const auto* end = std::ranges::find_if_not(rest_, is_name);
    const std::string_view name(rest_.begin(), end);
    skip(name.size());
    return name;
  }

  bool skip_blanks() {
    const auto* end = std::ranges::find_if_not(rest_, is_blank);
    const auto length = static_cast<size_t>(end - rest_.begin());
    skip(length);
    return length > 0;
  }

  void skip(size_t length) {
    at_ = position_after(at_, rest_.substr(0, length));
    rest_.remove_prefix(length);
  }

  void fail(const Position& at, std::string reason) {
    source_.fault = Fault{at, std::move(reason)};
  }

  void fail_unclosed() { fail(start_, "the tag is not closed; a tag ends with \"-->\""); }

  void fail_unexpected(const Position& at, const SourceTag& tag) {
    if (rest_.empty()) return fail_unclosed();
    fail(at,
         "the tag " + tag.name +
             " takes attributes such as name=\"value\", with a blank before each, and ends with "
             "\"-->\"");
  }

  Position at_;
  Position start_;
  std::string_view rest_;
  PageSource source_;
};

}  // namespace

std::string fault_text(const Fault& fault) {
  return fault.at.file + ":" + std::to_string(fault.at.line) + ":" +
         std::to_string(fault.at.column) + ": " + fault.reason;
}

Position position_after(const Position& start, std::string_view text) {
  Position end = start;
  const auto lines = std::ranges::count(text, '\n');
  const size_t last_line = text.rfind('\n');
  end.line += static_cast<int>(lines);
  end.column = lines == 0 ? start.column + static_cast<int>(text.size())
                          : static_cast<int>(text.size() - last_line);
  return end;
}

PageSource parse_page_source(const std::string& file, std::string_view text) {
  return SourceReader(file, text).read();
}

}  // namespace platen
