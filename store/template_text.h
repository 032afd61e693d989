// Names, types and values as they stand in a file, and the escapes that let them hold any byte.
// SPDX-License-Identifier: MIT
#ifndef STORE_TEMPLATE_TEXT_H_
#define STORE_TEMPLATE_TEXT_H_

#include <cstdint>
#include <string>
#include <string_view>

#pragma GCC visibility push(hidden)

namespace store {

// A borrowed text: either plain, or as the file holds it, with at least one escape.
struct Text {
  const char* data = nullptr;
  std::uint32_t size = 0;
  bool escaped = false;

  static Text plain(std::string_view text) {
    return {text.data(), static_cast<std::uint32_t>(text.size()), false};
  }
  [[nodiscard]] std::string_view raw() const { return {data, size}; }
  [[nodiscard]] const char* end() const { return data + size; }
  [[nodiscard]] bool equals(std::string_view text) const {
    return escaped ? equals_decoded(text) : raw() == text;
  }
  // Writes the plain bytes to `out`, which has room for `size` of them; returns their end.
  char* decode(char* out) const;
  [[nodiscard]] std::string decoded() const;

 private:
  [[nodiscard]] bool equals_decoded(std::string_view text) const;
};

// Where a text stands; each place has bytes of its own that must be escaped there.
enum class Place : std::uint8_t { kHeader, kAttribute, kType, kValue };

// Appends a plain text so that a reader gets the same bytes back.
void append_encoded(std::string& out, std::string_view plain, Place place);

// Returns the first escape in [begin, end) that means nothing, or null.
const char* find_bad_escape(const char* begin, const char* end);

}  // namespace store

#pragma GCC visibility pop

#endif  // STORE_TEMPLATE_TEXT_H_
