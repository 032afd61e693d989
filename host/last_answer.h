// The answer of a worker that cannot go on: its function ended the process, crashed or hangs.
// SPDX-License-Identifier: MIT
#ifndef HOST_LAST_ANSWER_H_
#define HOST_LAST_ANSWER_H_

#include <cstdint>

#include "worker_state.h"

namespace platen {

// The exit status of a worker that gave up its request because of the time.
inline constexpr int kOverTimeStatus = 75;

// Prepares the 500 and the 504 and installs what sends them for the request that is under way, if
// any: exit() and the signals of a crash send the 500; SIGALRM sends the 504 and ends the process,
// provided that the request has really lasted `limit_ms`. To be called once, in a worker.
// `state` must outlive the process.
void install_last_answer(const WorkerState* state, int64_t limit_ms);

// From now on a process that ends answers the request `id` of the FastCGI connection `connection`.
void promise_last_answer(int connection, int id);

// From now on it does not: the request has its own answer, or none is under way.
void withdraw_last_answer();

}  // namespace platen

#endif  // HOST_LAST_ANSWER_H_
