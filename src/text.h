// Texts of the module: comparison, fixed buffers, owned memory and escaping.
// SPDX-License-Identifier: MIT
#ifndef SRC_TEXT_H_
#define SRC_TEXT_H_

#include <array>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "templateWrapper.h"
#include "trace.h"

#pragma GCC visibility push(hidden)

// ---- Comparison; an absent (null) text equals nothing and begins with nothing. ----

inline bool is_empty(const char* text) { return text == nullptr || *text == '\0'; }

inline const char* text_or_empty(const char* text) { return text != nullptr ? text : ""; }

inline std::size_t text_length(const char* text) { return std::strlen(text_or_empty(text)); }

inline bool equals(const char* text, const char* other) {
  return text != nullptr && other != nullptr && std::strcmp(text, other) == 0;
}

inline bool starts_with(const char* text, const char* prefix) {
  return text != nullptr && std::strncmp(text, prefix, std::strlen(prefix)) == 0;
}

// ---- Fixed buffers; a cut falls on a byte and leaves the text terminated. ----

// Writes the formatted text into `buffer` of `size` bytes. Returns whether it fitted; else it is
// cut.
__attribute__((format(printf, 3, 4))) inline bool format_into(char* buffer, std::size_t size,
                                                              const char* format, ...) {
  va_list values;
  va_start(values, format);
  const int length = std::vsnprintf(buffer, size, format, values);
  va_end(values);
  return length >= 0 && static_cast<std::size_t>(length) < size;
}

// Replaces the text of `buffer`, cutting what does not fit.
template <std::size_t kSize>
void set_text(char (&buffer)[kSize], const char* text) {
  format_into(buffer, kSize, "%s", text);
}

// Appends to the text of `buffer`, cutting what does not fit.
template <std::size_t kSize>
void append_text(char (&buffer)[kSize], const char* text) {
  const std::size_t length = strnlen(buffer, kSize - 1);
  format_into(buffer + length, kSize - length, "%s", text);
}

// Copies at most `bound` bytes; a text that is as long as that is left without a terminator.
inline void copy_bounded(char* buffer, const char* text, std::size_t bound) {
  const std::size_t length = strnlen(text, bound);
  std::memcpy(buffer, text, length);
  if (length < bound) buffer[length] = '\0';
}

// ---- Owned memory. ----

struct FreeDeleter {
  void operator()(void* memory) const { std::free(memory); }
};

using MallocText = std::unique_ptr<char, FreeDeleter>;

// Returns `size` zero bytes; ends the process with the text `failure` when there is no memory.
inline MallocText allocate_text(const char* source, std::size_t size, const char* failure,
                                int line = __builtin_LINE()) {
  MallocText text(static_cast<char*>(std::calloc(size, 1)));
  require(source, text.get(), failure, line);
  return text;
}

// ---- Escaping. ----

struct Replacement {
  const char* what;
  const char* replacement;
};

// For a quoted string of a script. Backslashes come first, so that those added by the later rows
// are not doubled; the last row is left out where slashes stay bare.
inline constexpr std::array<Replacement, 4> kScriptText = {
    {{"\\", "\\\\"}, {"'", "\\'"}, {"\"", "\\\""}, {"/", "\\/"}}};

// A file name in a list that stands inside a double-quoted string of a script.
inline constexpr std::array<Replacement, 2> kListName = {{{"\\", "\\\\"}, {"\"", "\\\""}}};

// One text passed through the first rows of a table, each row working on the form that the row
// before it left; every form is kept until the object ends. An absent (null) text is empty and
// passed through nothing. Ends the process when there is no memory.
template <std::size_t kRows>
class EscapedText {
 public:
  template <std::size_t kTableRows>
  EscapedText(const char* source, const char* text,
              const std::array<Replacement, kTableRows>& table, int line = __builtin_LINE()) {
    static_assert(kRows <= kTableRows);
    for (std::size_t row = 0; row < kRows && text != nullptr; ++row) {
      forms_[row].reset(StringReplace(text, table[row].what, table[row].replacement));
      text = forms_[row].get();
      require(source, text, "malloc failed! Exiting!", line);
    }
  }

  const char* c_str() const { return text_or_empty(forms_[kRows - 1].get()); }
  const char* without_last_row() const { return text_or_empty(forms_[kRows - 2].get()); }

 private:
  std::array<MallocText, kRows> forms_;
};

#pragma GCC visibility pop

#endif  // SRC_TEXT_H_
