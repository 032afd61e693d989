// The escapes of each output format.
// SPDX-License-Identifier: MIT
#include "output_format.h"

#include <algorithm>

#include "ascii.h"

namespace platen {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

struct Range {
  unsigned char low;
  unsigned char high;
};

// The bytes that may follow a lead byte; narrower than 80..BF where a sequence would be overlong, a
// surrogate or beyond U+10FFFF.
Range second_byte(unsigned char lead) {
  switch (lead) {
    case 0xE0:
      return {0xA0, 0xBF};
    case 0xED:
      return {0x80, 0x9F};
    case 0xF0:
      return {0x90, 0xBF};
    case 0xF4:
      return {0x80, 0x8F};
    default:
      return {0x80, 0xBF};
  }
}

// The length that a lead byte announces, 0 for a byte that cannot lead.
size_t announced_length(unsigned char lead) {
  if (lead < 0x80) return 1;
  if (lead >= 0xC2 && lead <= 0xDF) return 2;
  if (lead >= 0xE0 && lead <= 0xEF) return 3;
  if (lead >= 0xF0 && lead <= 0xF4) return 4;
  return 0;
}

struct Sequence {
  size_t length;
  bool valid;
};

// The first sequence of a text that is not empty, or the maximal wrong part at its start.
Sequence first_sequence(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text[0]);
  const size_t announced = announced_length(lead);
  if (announced == 0) return {1, false};
  Range allowed = second_byte(lead);
  size_t length = 1;
  while (length < announced && length < text.size()) {
    const auto byte = static_cast<unsigned char>(text[length]);
    if (byte < allowed.low || byte > allowed.high) break;
    allowed = {0x80, 0xBF};
    ++length;
  }
  return {length, length == announced};
}

// What stands for a character in HTML; empty = the character itself.
std::string_view html_reference(char c) {
  switch (c) {
    case '&':
      return "&amp;";
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    case '"':
      return "&quot;";
    case '\'':
      return "&#39;";
    case '\r':
      return "&#13;";
    default:
      return "";
  }
}

// Tells whether the module puts a backslash before the character in some function.
bool is_module_escape(char c) { return c == '\\' || c == '\'' || c == '"' || c == '/'; }

bool starts_module_escape(std::string_view text, Value kind) {
  return kind == Value::backslashed && text.size() >= 2 && text[0] == '\\' &&
         is_module_escape(text[1]);
}

bool needs_backslash(char c) { return c == '\\' || c == '\'' || c == '"' || c == '`' || c == '$'; }

// "<" and ">" are coded so that no text can end a script or look like a tag or comment.
bool needs_code(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte < 0x20 || byte == 0x7F || c == '<' || c == '>';
}

void append_script_character(char c, std::string* out) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  if (needs_code(c)) {
    const auto byte = static_cast<unsigned char>(c);
    *out += {'\\', 'x', kDigits[byte >> 4], kDigits[byte & 15]};
    return;
  }
  if (needs_backslash(c)) *out += '\\';
  *out += c;
}

// U+2028 and U+2029 end a line in a script; both begin with these two bytes.
std::string_view script_line_end(std::string_view text) {
  if (text.starts_with("\xE2\x80\xA8")) return "\\u2028";
  if (text.starts_with("\xE2\x80\xA9")) return "\\u2029";
  return "";
}

std::string escaped_with_backslash(std::string_view text, std::string_view signs) {
  std::string out;
  for (const char c : text) {
    if (signs.find(c) != std::string_view::npos) out += '\\';
    out += c;
  }
  return out;
}

bool is_php_name(std::string_view text) {
  const auto is_part = [](char c) { return c == '_' || is_letter_or_digit(c); };
  return !text.empty() && !is_digit(text[0]) && std::ranges::all_of(text, is_part);
}

bool are_digits(std::string_view text) {
  return !text.empty() && std::ranges::all_of(text, is_digit);
}

bool is_number(std::string_view text) {
  if (text.starts_with('-')) text.remove_prefix(1);
  const size_t point = text.find('.');
  return are_digits(text.substr(0, point)) &&
         (point == std::string_view::npos || are_digits(text.substr(point + 1)));
}

}  // namespace

std::string valid_utf8(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  while (!text.empty()) {
    const Sequence sequence = first_sequence(text);
    out += sequence.valid ? text.substr(0, sequence.length) : kReplacement;
    text.remove_prefix(sequence.length);
  }
  return out;
}

std::string html_text(std::string_view text) {
  std::string out;
  for (const char c : valid_utf8(text)) {
    const std::string_view reference = html_reference(c);
    if (reference.empty()) {
      out += c;
    } else {
      out += reference;
    }
  }
  return out;
}

std::string script_text(std::string_view text, Value kind) {
  const std::string valid = valid_utf8(text);
  std::string out;
  for (std::string_view rest = valid; !rest.empty();) {
    if (starts_module_escape(rest, kind)) {
      out += rest.substr(0, 2);
      rest.remove_prefix(2);
    } else if (const std::string_view line_end = script_line_end(rest); !line_end.empty()) {
      out += line_end;
      rest.remove_prefix(3);
    } else {
      append_script_character(rest[0], &out);
      rest.remove_prefix(1);
    }
  }
  return out;
}

Json json_item(std::string_view text, Value kind) {
  std::string item;
  for (std::string_view rest = text; !rest.empty(); rest.remove_prefix(1)) {
    if (starts_module_escape(rest, kind)) rest.remove_prefix(1);
    item += rest[0];
  }
  return valid_utf8(item);
}

std::string json_text(const Json& value) {
  std::string out;
  for (const char c : value.dump()) {
    if (c == '<') {
      out += "\\u003C";
    } else {
      out += c;
    }
  }
  return out;
}

std::string php_literal(std::string_view text) {
  return '\'' + escaped_with_backslash(text, "'\\") + '\'';
}

std::string_view PhpStatement::pass(std::string_view text) {
  for (const char c : text) {
    if (c == quote_) {
      quote_ = 0;
    } else if (quote_ == 0 && (c == '"' || c == '\'')) {
      quote_ = c;
    }
  }
  return text;
}

std::optional<std::string> PhpStatement::value(std::string_view text) const {
  if (quote_ != 0) return escaped_with_backslash(text, quote_ == '"' ? "\"\\$" : "'\\");
  if (!is_php_name(text) && !is_number(text)) return std::nullopt;
  return std::string(text);
}

std::string formatted_text(std::string_view text, Format format) {
  switch (format) {
    case Format::html:
      return html_text(text);
    case Format::js:
      return script_text(text, Value::plain);
    case Format::json:
      return json_text(json_item(text, Value::plain));
    case Format::php:
      return php_literal(text);
    case Format::none:
      break;
  }
  return "";
}

}  // namespace platen
