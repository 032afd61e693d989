// The parser module with functions that fail on demand: a tag's first word chooses how, and the
// deletion of a template named exit.KTP ends the process.
// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

// The module's own function has another name in this build; this file has the usual one.
#include "http_parser.h"
#undef HTTP_Parser_Delete_fn
#undef HTTP_Parser_Get_fn

namespace {

// A named pipe of the test: opening it waits for the test, and tells the test that it has come
// here.
constexpr const char* kGate = "/var/spool/nc/gate";
constexpr const char* kMark = "/var/spool/nc/mark";

volatile bool deeper = true;

// The array makes the stack overflow soon; its use after the call keeps the call a call.
int overflow(int depth) {
  volatile char frame[4096];
  frame[0] = static_cast<char>(depth);
  return deeper ? overflow(depth + 1) + frame[0] : 0;
}

[[noreturn]] void wait_for_ever() {
  for (;;) {
    pause();
  }
}

void fail_exit() { exit(1); }
void fail_die() { _exit(7); }
void fail_abort() { abort(); }
void fail_segv() { raise(SIGSEGV); }
void fail_overflow() { overflow(0); }
void fail_kill() { raise(SIGKILL); }
void fail_hang() { wait_for_ever(); }

void fail_deaf() {
  sigset_t all;
  sigfillset(&all);
  sigprocmask(SIG_BLOCK, &all, nullptr);
  wait_for_ever();
}

void pass_gate() {
  const int gate = open(kGate, O_RDONLY | O_CLOEXEC);
  char byte = 0;
  while (read(gate, &byte, 1) > 0) {
  }
  close(gate);
}

// A process of the function's own that ends leaves the request to the worker.
void lose_child() {
  const pid_t child = fork();
  if (child == 0) {
    exit(1);
  }
  waitpid(child, nullptr, 0);
}

void leave_mark() { close(open(kMark, O_WRONLY | O_CREAT | O_CLOEXEC, 0600)); }

struct Fault {
  const char* word;
  void (*happen)();
};

constexpr Fault kFaults[] = {
    {"exit", fail_exit},         {"die", fail_die},    {"abort", fail_abort}, {"segv", fail_segv},
    {"overflow", fail_overflow}, {"kill", fail_kill},  {"hang", fail_hang},   {"deaf", fail_deaf},
    {"gate", pass_gate},         {"mark", leave_mark}, {"fork", lose_child}};

}  // namespace

extern "C" __attribute__((visibility("default"))) void HTTP_Parser_Get_fn(QVN_AppData* udata,
                                                                          char* arg) {
  for (const Fault& fault : kFaults) {
    const size_t length = strlen(fault.word);
    if (arg != nullptr && strncmp(arg, fault.word, length) == 0 && arg[length] == ' ') {
      fault.happen();
      return;
    }
  }
  real_HTTP_Parser_Get_fn(udata, arg);
}

extern "C" __attribute__((visibility("default"))) int HTTP_Parser_Delete_fn(QVN_AppData* udata,
                                                                            FormEntry* entries,
                                                                            int nEntries) {
  for (int i = 0; i < nEntries; ++i) {
    if (strstr(entries[i].val, "/exit.KTP") != nullptr) {
      fail_exit();
    }
  }
  return real_HTTP_Parser_Delete_fn(udata, entries, nEntries);
}
