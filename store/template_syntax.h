// The text form of a template: bytes to entries, and edited entries back to bytes. No files.
// SPDX-License-Identifier: MIT
#ifndef STORE_TEMPLATE_SYNTAX_H_
#define STORE_TEMPLATE_SYNTAX_H_

#include <string>
#include <string_view>

#include "template_document.h"
#include "template_status.h"

#pragma GCC visibility push(hidden)

namespace store {

// Fills the empty `entries` with what `bytes` hold; they borrow the bytes. On failure tells the
// first fault with its line and column, and leaves the entries unspecified.
Status parse(std::string_view bytes, Entries& entries);

// Returns the line, counted from 1, that `at` is in.
std::uint32_t line_of(std::string_view bytes, const char* at);

// Returns `bytes`, which were parsed to `before`, with only those places changed in which `after`
// differs: comments, order, blanks and untouched lines stay byte for byte. What is new in `after`
// has plain texts.
std::string render(std::string_view bytes, const Entries& before, const Entries& after);

}  // namespace store

#pragma GCC visibility pop

#endif  // STORE_TEMPLATE_SYNTAX_H_
