// The loop that starts, watches, replaces and stops the processes.
// SPDX-License-Identifier: MIT
#include "supervisor.h"

#include <poll.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include "clock.h"
#include "last_answer.h"
#include "platform/log.h"
#include "process.h"
#include "worker.h"

namespace platen {
namespace {

constexpr const char* kSource = "supervisor.cpp";
constexpr int kTickMs = 200;        // how often late requests are looked for
constexpr int64_t kGraceMs = 1000;  // from the signal that ends a late request to SIGKILL
constexpr int64_t kStopMs = 5000;   // for each step of a stop

ServerState* share_state() {
  void* memory =
      mmap(nullptr, sizeof(ServerState), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) {
    throw std::bad_alloc();
  }
  auto* server = new (memory) ServerState;
  server->started = system_time();
  server->started_ms = monotonic_ms();
  return server;
}

// The process is noted last: a worker without one is not looked at.
void prepare(WorkerState* state) {
  state->busy_since = 0;
  state->served = 0;
  state->started = monotonic_ms();
  state->request.set("");
  state->last_line.set("");
  state->post.set("");
}

EndCause cause_of(int status, bool is_late) {
  if (is_late) return EndCause::late;
  return WIFSIGNALED(status) ? EndCause::signal : EndCause::exit;
}

}  // namespace

bool RateLimit::allows(int64_t now) {
  if (count_ == times_.size() && now - times_[next_] < 1000) {
    return false;
  }
  times_[next_] = now;
  next_ = (next_ + 1) % times_.size();
  count_ = std::min(count_ + 1, times_.size());
  return true;
}

Supervisor::Supervisor(const Options& options, Service* service, int listener, Front* front,
                       Duties duties)
    : options_(options),
      service_(service),
      listener_(listener),
      front_(front),
      duties_(std::move(duties)),
      workers_(kMostWorkers),
      server_(share_state()) {
  const sigset_t set = signal_set({SIGCHLD, SIGHUP, SIGINT, SIGTERM, SIGUSR1});
  sigprocmask(SIG_BLOCK, &set, nullptr);
  signals_ = signalfd(-1, &set, SFD_NONBLOCK | SFD_CLOEXEC);
}

Supervisor::~Supervisor() {
  munmap(server_, sizeof(ServerState));
  close(signals_);
}

int Supervisor::run() {
  fill_workers();
  if (front_ == nullptr) {
    greet();
  } else if (!start_front()) {
    enter(Phase::killing);
  }
  while (any_worker() || (front_ != nullptr && front_->process() != 0)) {
    wait_for_event();
    take_signals();
    reap_children();
    if (phase_ < Phase::draining_workers) {
      fill_workers();
    }
    give_up_late_requests();
    advance_stop();
  }
  return failed_ ? 1 : 0;
}

bool Supervisor::start_front() {
  std::string error;
  failed_ = !front_->start(&error);
  if (failed_) {
    fprintf(stderr, "platend: %s\n", error.c_str());
  }
  return !failed_;
}

void Supervisor::greet() {
  if (!std::exchange(greeted_, true)) {
    puts(duties_.greeting().c_str());
    fflush(stdout);
  }
}

bool Supervisor::any_worker() const {
  return std::ranges::any_of(workers_, [](const Worker& worker) { return worker.process != 0; });
}

void Supervisor::fill_workers() {
  for (size_t i = 0; i < static_cast<size_t>(options_.workers); ++i) {
    if (workers_[i].process == 0 && starts_.allows(monotonic_ms())) {
      start_worker(i);
    }
  }
}

// SIGTERM stays blocked from the first moment, so that none is lost before the worker listens to
// it.
void Supervisor::start_worker(size_t i) {
  WorkerState& state = server_->workers[i];
  prepare(&state);
  const pid_t process = fork_child({SIGTERM});
  if (process < 0) {
    Log_Entry(LOG_LEVEL_ERROR, kSource, __LINE__, "A worker cannot be started: %s",
              strerror(errno));
    return;
  }
  if (process == 0) {
    close(signals_);
    run_worker(listener_, options_, service_, server_, i);
    exit(0);
  }
  workers_[i] = {process, 0};
  state.process = process;
}

void Supervisor::wait_for_event() {
  pollfd events[2] = {{signals_, POLLIN, 0}, {-1, POLLIN, 0}};
  if (front_ != nullptr) {
    events[1].fd = front_->log_descriptor();
  }
  poll(events, 2, kTickMs);
  if (front_ != nullptr) {
    front_->read_log();
    if (front_->serving() && phase_ == Phase::serving) {
      greet();
    }
  }
}

void Supervisor::take_signals() {
  signalfd_siginfo info{};
  while (read(signals_, &info, sizeof(info)) == sizeof(info)) {
    if (info.ssi_signo != SIGCHLD) {
      take_signal(static_cast<int>(info.ssi_signo), info.ssi_code);
    }
  }
}

// A worker that is told to end finishes its request; the one in its place has what is new.
void Supervisor::take_signal(int number, int code) {
  const bool reloading = number == SIGHUP && !is_hangup(number, code);
  if (!reloading && number != SIGUSR1) {
    Log_Entry(LOG_LEVEL_NOTICE, kSource, __LINE__, "Stopping on signal %d.", number);
    enter(phase_ == Phase::serving ? Phase::closing_front : Phase::killing);
    return;
  }
  if (phase_ != Phase::serving) return;
  if (!reloading) {
    duties_.reopen_log();
  } else if (!duties_.reload()) {
    return;
  }
  Log_Entry(LOG_LEVEL_NOTICE, kSource, __LINE__, "%s on signal %d.",
            reloading ? "Reloaded" : "Reopened the log", number);
  signal_workers(SIGTERM);
}

void Supervisor::reap_children() {
  int status = 0;
  pid_t process = 0;
  while ((process = waitpid(-1, &status, WNOHANG)) > 0) {
    if (front_ != nullptr && process == front_->process()) {
      front_ended(status);
      continue;
    }
    const auto worker = std::ranges::find(workers_, process, &Worker::process);
    if (worker != workers_.end()) {
      worker_ended(static_cast<size_t>(worker - workers_.begin()), status);
    }
  }
}

void Supervisor::worker_ended(size_t i, int status) {
  WorkerState& state = server_->workers[i];
  const int64_t given_up = workers_[i].given_up;
  const pid_t process = workers_[i].process;
  workers_[i] = {};
  state.process = 0;
  const bool is_planned = state.busy_since == 0 && status == 0;
  const bool is_late = given_up != 0 && given_up == state.busy_since;
  const EndCause kind = is_planned ? EndCause::planned : cause_of(status, is_late);
  ++server_->ends_by_cause[static_cast<size_t>(kind)];
  if (is_planned) {
    Log_Entry(LOG_LEVEL_TRACE, kSource, __LINE__, "Worker %d has ended as planned.", process);
    return;
  }
  const std::string cause =
      is_late ? "more than " + std::to_string(options_.request_time) + " s, " + describe_end(status)
              : describe_end(status);
  keep_end(state, process, cause);
  const std::string work = state.busy_since == 0 ? "no request" : state.request.get();
  Log_Entry(LOG_LEVEL_ERROR, kSource, __LINE__, "Worker %d has ended: %s, at work on: %s", process,
            cause.c_str(), work.c_str());
}

// The workers write the audit trail, as the supervisor opens no database.
void Supervisor::keep_end(const WorkerState& state, pid_t process, const std::string& cause) {
  const bool was_busy = state.busy_since != 0;
  const std::string post = state.post.get();
  WorkerEnd& end = server_->ends[server_->end_count % server_->ends.size()];
  end.time = system_time();
  end.process = process;
  end.cause.set(cause);
  end.request.set(was_busy ? state.request.get() : "");
  end.last_line.set(state.last_line.get());
  end.post.set(post);
  end.is_audited = post.empty();
  ++server_->end_count;
  if (was_busy) {
    ++server_->answers[static_cast<size_t>(Answer::failed)];
  }
}

void Supervisor::front_ended(int status) {
  const bool served = front_->serving();
  front_->ended();
  if (phase_ != Phase::serving) {
    return;
  }
  const std::string end = describe_end(status);
  if (!served) {
    fprintf(stderr, "platend: lighttpd ended before it served (%s); its messages are in the log\n",
            end.c_str());
    failed_ = true;
    enter(Phase::killing);
    return;
  }
  Log_Entry(LOG_LEVEL_ERROR, kSource, __LINE__, "lighttpd has ended (%s) and is started again.",
            end.c_str());
  if (!start_front()) {
    enter(Phase::killing);
  }
}

// The signal lets the worker answer its client; one that cannot is killed.
void Supervisor::give_up_late_requests() {
  const int64_t now = monotonic_ms();
  const int64_t limit = int64_t{options_.request_time} * 1000;
  for (size_t i = 0; i < workers_.size(); ++i) {
    const int64_t start = server_->workers[i].busy_since;
    if (workers_[i].process == 0 || start == 0 || now - start <= limit) {
      continue;
    }
    if (workers_[i].given_up != start) {
      workers_[i].given_up = start;
      kill(workers_[i].process, SIGALRM);
    } else if (now - start > limit + kGraceMs) {
      kill(workers_[i].process, SIGKILL);
    }
  }
}

void Supervisor::advance_stop() {
  const bool late = phase_ != Phase::serving && monotonic_ms() > phase_deadline_;
  if (phase_ == Phase::closing_front && (late || front_ == nullptr || front_->process() == 0)) {
    enter(Phase::draining_workers);
  } else if (phase_ == Phase::draining_workers && late) {
    enter(Phase::killing);
  }
}

// SIGINT lets lighttpd finish what it has begun; SIGTERM ends it.
void Supervisor::enter(Phase phase) {
  phase_ = phase;
  const bool has_front = front_ != nullptr && front_->process() != 0;
  const bool killing = phase == Phase::killing;
  if (has_front) {
    kill(front_->process(), killing ? SIGKILL : phase == Phase::closing_front ? SIGINT : SIGTERM);
  }
  if (phase != Phase::closing_front) {
    signal_workers(killing ? SIGKILL : SIGTERM);
  }
  phase_deadline_ = monotonic_ms() + kStopMs;
}

void Supervisor::signal_workers(int signal) const {
  for (const Worker& worker : workers_) {
    if (worker.process != 0) {
      kill(worker.process, signal);
    }
  }
}

}  // namespace platen
