// A worker: answers requests, one at a time.
// SPDX-License-Identifier: MIT
#ifndef HOST_WORKER_H_
#define HOST_WORKER_H_

#include "options.h"
#include "server_state.h"
#include "service.h"

namespace platen {

// Answers FastCGI requests that arrive at `listener` until SIGTERM or until the number of requests
// after which a worker is replaced, then returns; SIGTERM lets a request under way end first.
// To be called in a process of its own, with SIGTERM blocked; it is let through while idle.
// A request for which the process ends, for whatever reason, is answered with 500 or 504. What it
// does stands in `server`, under that number of a worker.
void run_worker(int listener, const Options& options, Service* service, ServerState* server,
                size_t number);

}  // namespace platen

#endif  // HOST_WORKER_H_
