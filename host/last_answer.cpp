// Prepared answers, sent with plain system calls only.
// SPDX-License-Identifier: MIT
#include "last_answer.h"

#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "error_page.h"
#include "fastcgi_response.h"

namespace platen {
namespace {

// What the handlers need; all of it is made before they are installed.
struct LastAnswer {
  std::string failed;     // 500
  std::string over_time;  // 504
  const WorkerState* state;
  int64_t limit_ms;
  pid_t owner;
  std::atomic<int> connection{-1};  // -1: nothing is promised
  std::atomic<int> id{0};
};

LastAnswer* last_answer = nullptr;

void send_answer(std::string* answer) {
  const int connection = last_answer->connection.exchange(-1);
  if (connection < 0) {
    return;
  }
  set_request_id(answer, last_answer->id);
  size_t sent = 0;
  while (sent < answer->size()) {
    const ssize_t count = write(connection, answer->data() + sent, answer->size() - sent);
    if (count <= 0) {
      break;
    }
    sent += static_cast<size_t>(count);
  }
  shutdown(connection, SHUT_RDWR);
}

// A process that this one has forked leaves the request to its owner.
void answer_exit() {
  if (getpid() == last_answer->owner) {
    send_answer(&last_answer->failed);
  }
}

// The handler is gone when it is called, so raising the signal again ends the process with it.
void answer_crash(int signal) {
  answer_exit();
  raise(signal);
}

// The signal may arrive after its request has ended and the next one begun.
void answer_over_time(int) {
  const int64_t start = last_answer->state->busy_since;
  if (start == 0 || monotonic_ms() - start < last_answer->limit_ms) {
    return;
  }
  send_answer(&last_answer->over_time);
  _exit(kOverTimeStatus);
}

// A stack of its own, so that an overflow of the usual one is answered too.
void install_handler_stack() {
  static char stack_memory[64 * 1024];
  stack_t stack = {};
  stack.ss_sp = stack_memory;
  stack.ss_size = sizeof(stack_memory);
  sigaltstack(&stack, nullptr);
}

void install_handler(int signal, void (*handler)(int), int flags) {
  struct sigaction action = {};
  action.sa_handler = handler;
  action.sa_flags = SA_ONSTACK | flags;
  sigemptyset(&action.sa_mask);
  sigaction(signal, &action, nullptr);
}

}  // namespace

void install_last_answer(const WorkerState* state, int64_t limit_ms) {
  last_answer = new LastAnswer{fastcgi_answer(cgi_text(error_response_for_all(500))),
                               fastcgi_answer(cgi_text(error_response_for_all(504))), state,
                               limit_ms, getpid()};
  install_handler_stack();
  for (const int signal : {SIGSEGV, SIGABRT, SIGBUS, SIGFPE, SIGILL}) {
    install_handler(signal, answer_crash, static_cast<int>(SA_RESETHAND));
  }
  install_handler(SIGALRM, answer_over_time, SA_RESTART);
  std::atexit(answer_exit);
}

void promise_last_answer(int connection, int id) {
  last_answer->id = id;
  last_answer->connection = connection;
}

void withdraw_last_answer() { last_answer->connection = -1; }

}  // namespace platen
