// The failed saves and refused writes of this process, kept until somebody asks for them.
// SPDX-License-Identifier: MIT
#ifndef STORE_TEMPLATE_FAILURES_H_
#define STORE_TEMPLATE_FAILURES_H_

#include <cstddef>
#include <string>

#pragma GCC visibility push(hidden)

namespace store {

inline constexpr std::size_t kMostFailures = 100;

// Remembers one line; beyond kMostFailures, or when memory is out, only counts it.
void note_failure(std::string&& line);

// Counts a failure whose line could not even be made.
void note_lost_failure();

// Returns the lines as one malloc text and forgets them; null = none, or no memory, in which case
// they stay.
char* take_failures();

}  // namespace store

#pragma GCC visibility pop

#endif  // STORE_TEMPLATE_FAILURES_H_
