// Classes of ASCII characters, whatever the locale.
// SPDX-License-Identifier: MIT
#ifndef HOST_ASCII_H_
#define HOST_ASCII_H_

namespace platen {

inline bool is_control(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }

inline bool is_digit(char c) { return c >= '0' && c <= '9'; }

inline char to_lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; }

inline bool is_letter_or_digit(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || is_digit(c);
}

}  // namespace platen

#endif  // HOST_ASCII_H_
