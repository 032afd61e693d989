// Points of time as query fields and files write them.
// SPDX-License-Identifier: MIT
#ifndef HOST_MOMENT_H_
#define HOST_MOMENT_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace platen {

// The seconds since 1970 that a text names, from `begin` up to but not including `end`.
struct Moment {
  int64_t begin;
  int64_t end;
};

// Reads "2026-11-21", "2026-11-21T10:16" or "2026-11-21T10:16:46", in UTC, with or without a "Z"
// behind it; nothing when the text is no such day, minute or second.
std::optional<Moment> parse_moment(std::string_view text);

// "2026-11-21T10:16:46Z"
std::string utc_text(int64_t seconds);

}  // namespace platen

#endif  // HOST_MOMENT_H_
