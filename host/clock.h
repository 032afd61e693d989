// The time of day, which tests replace by their own.
// SPDX-License-Identifier: MIT
#ifndef HOST_CLOCK_H_
#define HOST_CLOCK_H_

#include <cstdint>
#include <ctime>
#include <functional>

namespace platen {

constexpr int64_t kMinute = 60;  // seconds
constexpr int64_t kHour = 60 * kMinute;
constexpr int64_t kDay = 24 * kHour;

// Seconds since 1970, UTC. It may be set back while platend runs.
using Clock = std::function<int64_t()>;

inline int64_t system_time() { return static_cast<int64_t>(std::time(nullptr)); }

}  // namespace platen

#endif  // HOST_CLOCK_H_
