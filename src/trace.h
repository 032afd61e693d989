// Tracing of the exported functions, and the check that ends the process.
// SPDX-License-Identifier: MIT
#ifndef SRC_TRACE_H_
#define SRC_TRACE_H_

#include <cstdio>
#include <cstdlib>

#include "log.h"

#pragma GCC visibility push(hidden)

// Writes one log line with the place of the call. Each unit names itself once, in its `kSource`.
#define LOG_LINE(level, ...) Log_Entry((level), kSource, __LINE__, __VA_ARGS__)

// Logs "ENTER %s" when made and "EXIT %s" when it ends, with the name of the function that made it.
// It is the first object of an exported function, so that EXIT follows all other lines.
class [[nodiscard]] FunctionTrace {
 public:
  explicit FunctionTrace(const char* source, const char* function = __builtin_FUNCTION(),
                         int line = __builtin_LINE()) noexcept
      : source_(source), function_(function), line_(line) {
    Log_Entry(LOG_LEVEL_TRACE, source_, line_, "ENTER %s", function_);
  }
  // For a function that logs its exit alone.
  static FunctionTrace exit_only(const char* source, const char* function = __builtin_FUNCTION(),
                                 int line = __builtin_LINE()) noexcept {
    return {source, function, line, Silent()};
  }
  ~FunctionTrace() { Log_Entry(LOG_LEVEL_TRACE, source_, line_, "EXIT %s", function_); }

  FunctionTrace(const FunctionTrace&) = delete;
  FunctionTrace& operator=(const FunctionTrace&) = delete;

 private:
  struct Silent {};
  FunctionTrace(const char* source, const char* function, int line, Silent) noexcept
      : source_(source), function_(function), line_(line) {}

  const char* source_;
  const char* function_;
  int line_;
};

// Logs `text` for the line of its caller and ends the process with status 1. Traces stay open: no
// EXIT is logged on this way out.
[[noreturn]] inline void end_process(const char* source, const char* text, int line) {
  Log_Entry(LOG_LEVEL_ERROR, source, line, "%s", text);
  std::exit(1);
}

// As end_process, for memory that a listing of the mailbox pages could not have: the standard error
// stream is told too.
[[noreturn]] inline void end_process_without_memory(const char* source, const char* function,
                                                    int line) {
  Log_Entry(LOG_LEVEL_ERROR, source, line, "QALLOCN() failed, exiting from %s, %s:%d", function,
            source, line);
  std::fprintf(stderr, "*** http exit (status = %d)  %s,%s:%d\r\n", 1, function, source, line + 1);
  std::exit(1);
}

// Ends the process with `text` unless `pointer`, a request record or memory just allocated, is
// there.
inline void require(const char* source, const void* pointer, const char* text,
                    int line = __builtin_LINE()) {
  if (pointer == nullptr) end_process(source, text, line);
}

#pragma GCC visibility pop

#endif  // SRC_TRACE_H_
