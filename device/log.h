// The system log on standard error: which lines are recorded, and who else sees them.
// SPDX-License-Identifier: MIT
//
// Log_Entry() itself is declared in platform/log.h. It preserves errno, may be called from several
// threads, and never fails towards its caller.
//
// A line of the log:
//   2026-11-21T10:16:46.123Z 4711 3 http_parser.cpp:57 *** Illegal template path: /etc/x
// that is the time in UTC, the process id, the level, the source unit with the line of the call,
// and the text. Control characters and backslashes of the text are written as \n, \t, \r, \\ or
// \xHH, so that one entry is one line and can be read back.
#ifndef DEVICE_LOG_H_
#define DEVICE_LOG_H_

#include <sys/types.h>
#include <time.h>

#include <string>
#include <string_view>

namespace platen {

// The highest level that is recorded before set_log_level() is called.
inline constexpr int kDefaultLogLevel = 6;

// One entry as it was logged, before any escaping. Its views last for the observer's call only.
struct LogLine {
  int level;
  std::string_view source;
  int line;
  std::string_view text;
};

// Sees every entry, also those above the recorded level, in order. Must not throw. An entry that it
// logs itself is recorded, but not shown to it.
using LogObserver = void (*)(void* context, const LogLine& line);

// Records entries up to `level` from now on. A level of 9 or more records the passwords of update
// requests: a warning (level 5) then says so in the log.
void set_log_level(int level);

// Sets the one observer of this thread; null ends the observing. `context` is handed to each call.
void set_log_observer(LogObserver observer, void* context);

// Sees every line that is recorded, as it stands in the log but for its line end. Must not throw or
// log.
using LogCopy = void (*)(void* context, std::string_view line);

// Sets the one copy of this process; null ends it. `context` is handed to each call.
void set_log_copy(LogCopy copy, void* context);

// A text as the log writes it: in one line that can be read back.
std::string one_line(std::string_view text);

// One entry as bytes of the log, its line end included.
std::string format_log_line(const timespec& now, pid_t process, const LogLine& line);

}  // namespace platen

#endif  // DEVICE_LOG_H_
