// Keeps the workers and the web server running, and stops them.
// SPDX-License-Identifier: MIT
#ifndef HOST_SUPERVISOR_H_
#define HOST_SUPERVISOR_H_

#include <sys/types.h>

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "front.h"
#include "options.h"
#include "server_state.h"
#include "service.h"

namespace platen {

// Lets at most 50 events pass in any second.
class RateLimit {
 public:
  // Returns whether one more may happen at `now` (milliseconds), and counts it if so.
  bool allows(int64_t now);

 private:
  std::array<int64_t, 50> times_{};  // of the latest events, as a ring
  size_t next_ = 0;
  size_t count_ = 0;
};

// What the supervisor leaves to the program around it.
struct Duties {
  std::function<std::string()> greeting;  // gives the lines to print once everything serves
  std::function<void()> reopen_log;       // goes on with the log in the file of its name
  std::function<bool()> reload;           // takes changed files over; false when they stay
};

// One object in a process. The listener of the workers stays open for as long as it runs, so that
// no request is refused while a worker is replaced.
class Supervisor {
 public:
  // `listener` is where the workers take requests; it must not block. `front` may be null; it is
  // started. A reload may change `options`.
  Supervisor(const Options& options, Service* service, int listener, Front* front, Duties duties);
  ~Supervisor();
  Supervisor(const Supervisor&) = delete;
  Supervisor& operator=(const Supervisor&) = delete;

  // Serves until SIGTERM, SIGINT or the end of the terminal; then lets what is under way end within its time, and
  // kills what does not. A second signal kills at once. Returns the exit status of the program: 0,
  // or 1 after a message on standard error when the web server cannot be started. No child is left.
  // SIGUSR1 reopens the log, SIGHUP reloads and reopens it; both replace each worker once its request
  // has ended, so that none is lost.
  int run();

 private:
  struct Worker {
    pid_t process = 0;
    int64_t given_up = 0;  // busy_since of the request that has been given up
  };
  enum class Phase { serving, closing_front, draining_workers, killing };

  bool start_front();
  void fill_workers();
  void start_worker(size_t i);
  void wait_for_event();
  void take_signals();
  void take_signal(int number, int code);
  void reap_children();
  void worker_ended(size_t i, int status);
  void keep_end(const WorkerState& state, pid_t process, const std::string& cause);
  void front_ended(int status);
  void give_up_late_requests();
  void advance_stop();
  void enter(Phase phase);
  void signal_workers(int signal) const;
  void greet();
  bool any_worker() const;

  const Options& options_;
  Service* service_;
  int listener_;
  Front* front_;
  Duties duties_;
  bool greeted_ = false;
  int signals_ = -1;
  std::vector<Worker> workers_;
  ServerState* server_;
  RateLimit starts_;
  Phase phase_ = Phase::serving;
  int64_t phase_deadline_ = 0;
  bool failed_ = false;
};

}  // namespace platen

#endif  // HOST_SUPERVISOR_H_
