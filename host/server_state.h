// What the processes of the server tell each other: in memory that supervisor and workers share.
// SPDX-License-Identifier: MIT
#ifndef HOST_SERVER_STATE_H_
#define HOST_SERVER_STATE_H_

#include <sys/types.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include "options.h"
#include "shared_text.h"
#include "worker_state.h"

namespace platen {

// Why a worker has ended.
enum class EndCause { planned, exit, signal, late };
inline constexpr size_t kEndCauses = 4;

// A worker that ended before its time. The supervisor writes it.
struct WorkerEnd {
  std::atomic<int64_t> time{0};  // seconds since 1970
  std::atomic<pid_t> process{0};
  SharedText<100> cause;
  SharedText<200> request;             // empty: it had none
  SharedText<400> last_line;           // of its log
  SharedText<4096> post;               // the form that it carried out, as WorkerState has it
  std::atomic<bool> is_audited{true};  // false: the audit trail still lacks the form
};

struct ServerState {
  std::atomic<int64_t> started{0};     // seconds since 1970
  std::atomic<int64_t> started_ms{0};  // monotonic_ms()
  std::atomic<int64_t> requests{0};    // answered, by a worker that ended too
  std::atomic<int64_t> refusals{0};    // answered with a status from 400 to 499
  std::atomic<int64_t> failures{0};    // answered with one from 500 on
  std::array<std::atomic<int64_t>, kEndCauses> ends_by_cause{};
  std::atomic<size_t> end_count{0};  // of those in `ends`, overwritten ones included
  std::array<WorkerEnd, 20> ends;    // a ring
  std::array<WorkerState, kMostWorkers> workers;
};

}  // namespace platen

#endif  // HOST_SERVER_STATE_H_
