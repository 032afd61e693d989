// What a worker shows the supervisor while it works.
// SPDX-License-Identifier: MIT
#ifndef HOST_WORKER_STATE_H_
#define HOST_WORKER_STATE_H_

#include <sys/types.h>
#include <time.h>

#include <atomic>
#include <cstdint>

#include "shared_text.h"

namespace platen {

// Milliseconds of the clock that is never set back. Safe in a signal handler.
inline int64_t monotonic_ms() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
}

// Lies in memory that worker and supervisor share. The worker writes it; the supervisor reads it,
// and clears it before the next worker takes it over.
struct WorkerState {
  std::atomic<pid_t> process{0};       // 0 = none runs
  std::atomic<int64_t> started{0};     // monotonic_ms() when it was
  std::atomic<int64_t> busy_since{0};  // monotonic_ms() at the start of a request, 0 = idle
  std::atomic<int64_t> served{0};      // requests
  SharedText<200> request;             // method and path of the latest request
  SharedText<400> last_line;           // of the worker's log
  SharedText<4096> post;               // the form that it carries out, as JSON for the audit trail
};

static_assert(std::atomic<int64_t>::is_always_lock_free, "signal handlers read it");

}  // namespace platen

#endif  // HOST_WORKER_STATE_H_
