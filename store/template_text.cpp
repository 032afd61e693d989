// Escapes: a backslash and one of \, n, r, t, or x with two hexadecimal digits.
// SPDX-License-Identifier: MIT
#include "template_text.h"

#include <algorithm>
#include <iterator>

namespace store {
namespace {

constexpr char kHexDigits[] = "0123456789ABCDEF";

struct Escape {
  char letter;
  char byte;
};
constexpr Escape kEscapes[] = {{'\\', '\\'}, {'n', '\n'}, {'r', '\r'}, {'t', '\t'}};

// Bytes that end a text of that place, and bytes that would give its line another meaning.
struct PlaceRule {
  std::string_view anywhere;
  std::string_view first;
};
constexpr PlaceRule kPlaceRules[] = {{"", ""}, {"(", "#[="}, {",)", ""}, {"", ""}};

int hex_value(char digit) {
  if (digit >= '0' && digit <= '9') return digit - '0';
  if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
  if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
  return -1;
}

char hex_byte(const char* digits) {
  return static_cast<char>(hex_value(digits[0]) * 16 + hex_value(digits[1]));
}

const Escape* find_letter(char letter) {
  const Escape* found = std::find_if(std::begin(kEscapes), std::end(kEscapes),
                                     [=](const Escape& row) { return row.letter == letter; });
  return found == std::end(kEscapes) ? nullptr : found;
}

// Takes one plain byte from `*at`, which is at a byte or at a valid escape, and moves past it.
char take_byte(const char*& at) {
  if (*at != '\\') return *at++;
  if (at[1] == 'x') {
    at += 4;
    return hex_byte(at - 2);
  }
  at += 2;
  return find_letter(at[-1])->byte;
}

// Returns the length of the escape at `at`, or 0 when it means nothing.
std::size_t escape_length(const char* at, const char* end) {
  if (end - at < 2) return 0;
  if (find_letter(at[1])) return 2;
  bool hex = at[1] == 'x' && end - at >= 4 && hex_value(at[2]) >= 0 && hex_value(at[3]) >= 0;
  return hex && hex_byte(at + 2) != '\0' ? 4 : 0;
}

struct Utf8Range {
  unsigned char lead_from, lead_to;
  unsigned char second_from, second_to;
  std::size_t length;
};
constexpr Utf8Range kUtf8Ranges[] = {
    {0x00, 0x7F, 0x00, 0x00, 1}, {0xC2, 0xDF, 0x80, 0xBF, 2}, {0xE0, 0xE0, 0xA0, 0xBF, 3},
    {0xE1, 0xEC, 0x80, 0xBF, 3}, {0xED, 0xED, 0x80, 0x9F, 3}, {0xEE, 0xEF, 0x80, 0xBF, 3},
    {0xF0, 0xF0, 0x90, 0xBF, 4}, {0xF1, 0xF3, 0x80, 0xBF, 4}, {0xF4, 0xF4, 0x80, 0x8F, 4}};

bool is_continuation(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

// Returns the length of the character at the front of `text`, or 0 when its bytes are not UTF-8.
std::size_t utf8_length(std::string_view text) {
  auto lead = static_cast<unsigned char>(text[0]);
  const Utf8Range* row =
      std::find_if(std::begin(kUtf8Ranges), std::end(kUtf8Ranges),
                   [=](const Utf8Range& r) { return lead >= r.lead_from && lead <= r.lead_to; });
  if (row == std::end(kUtf8Ranges) || text.size() < row->length) return 0;
  if (row->length == 1) return 1;
  auto second = static_cast<unsigned char>(text[1]);
  bool good = second >= row->second_from && second <= row->second_to &&
              std::all_of(text.begin() + 2, text.begin() + static_cast<std::ptrdiff_t>(row->length),
                          is_continuation);
  return good ? row->length : 0;
}

void append_escape(std::string& out, char byte) {
  const Escape* row = std::find_if(std::begin(kEscapes), std::end(kEscapes),
                                   [=](const Escape& e) { return e.byte == byte; });
  out += '\\';
  if (row != std::end(kEscapes)) {
    out += row->letter;
    return;
  }
  auto value = static_cast<unsigned char>(byte);
  out += 'x';
  out += kHexDigits[value >> 4];
  out += kHexDigits[value & 15];
}

bool needs_escape(std::string_view text, std::size_t at, const PlaceRule& rule) {
  char byte = text[at];
  auto value = static_cast<unsigned char>(byte);
  bool at_edge = at == 0 || at + 1 == text.size();
  return value < 0x20 || value == 0x7F || byte == '\\' || (byte == ' ' && at_edge) ||
         rule.anywhere.find(byte) != std::string_view::npos ||
         (at == 0 && rule.first.find(byte) != std::string_view::npos);
}

}  // namespace

bool Text::equals_decoded(std::string_view text) const {
  const char* at = data;
  for (char byte : text) {
    if (at == end() || take_byte(at) != byte) return false;
  }
  return at == end();
}

char* Text::decode(char* out) const {
  if (!escaped) return std::copy_n(data, size, out);
  for (const char* at = data; at != end();) *out++ = take_byte(at);
  return out;
}

std::string Text::decoded() const {
  std::string plain(size, '\0');
  plain.resize(static_cast<std::size_t>(decode(plain.data()) - plain.data()));
  return plain;
}

void append_encoded(std::string& out, std::string_view plain, Place place) {
  const PlaceRule& rule = kPlaceRules[static_cast<std::size_t>(place)];
  for (std::size_t at = 0; at < plain.size();) {
    std::size_t length = utf8_length(plain.substr(at));
    if (length == 0 || (length == 1 && needs_escape(plain, at, rule))) {
      append_escape(out, plain[at++]);
    } else {
      out += plain.substr(at, length);
      at += length;
    }
  }
}

const char* find_bad_escape(const char* begin, const char* end) {
  for (const char* at = begin; (at = std::find(at, end, '\\')) != end;) {
    std::size_t length = escape_length(at, end);
    if (length == 0) return at;
    at += length;
  }
  return nullptr;
}

}  // namespace store
