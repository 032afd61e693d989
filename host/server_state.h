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
inline constexpr const char* kEndCauseNames[kEndCauses] = {"planned", "exit", "signal", "late"};

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

// How a request was answered: with a status below 400, from 400 to 499, or from 500 on.
enum class Answer { done, refused, failed };
inline constexpr size_t kAnswers = 3;

// The longest times, in milliseconds, of the classes in which requests are counted; what takes longer
// is in one more.
inline constexpr std::array<int, 12> kTimeClasses = {5,   10,   25,   50,   100,   250,
                                                     500, 1000, 2500, 5000, 10000, 30000};

struct ServerState {
  std::atomic<int64_t> started{0};                       // seconds since 1970
  std::atomic<int64_t> started_ms{0};                    // monotonic_ms()
  std::array<std::atomic<int64_t>, kAnswers> answers{};  // requests, of a worker that ended too
  std::array<std::atomic<int64_t>, kTimeClasses.size() + 1>
      times{};                       // requests of answering workers
  std::atomic<int64_t> time_sum{0};  // of those, in microseconds
  std::atomic<int64_t> failed_saves{0};
  std::array<std::atomic<int64_t>, kEndCauses> ends_by_cause{};
  std::atomic<size_t> end_count{0};  // of those in `ends`, overwritten ones included
  std::array<WorkerEnd, 20> ends;    // a ring
  std::array<WorkerState, kMostWorkers> workers;
};

}  // namespace platen

#endif  // HOST_SERVER_STATE_H_
