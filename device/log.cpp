// The system log on standard error: which lines are recorded, and who else sees them.
// SPDX-License-Identifier: MIT
#include "device/log.h"

#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>
#include <utility>

#include "platform/log.h"

namespace platen {
namespace {

constexpr char kSource[] = "log.cpp";

int log_level = kDefaultLogLevel;

struct Observer {
  LogObserver call = nullptr;
  void* context = nullptr;
};

thread_local Observer current_observer;

struct Copy {
  LogCopy call = nullptr;
  void* context = nullptr;
};

Copy line_copy;

void append_hex(std::string* out, unsigned char byte) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  *out += "\\x";
  *out += kDigits[byte >> 4];
  *out += kDigits[byte & 15];
}

void append_escaped(std::string* out, std::string_view text) {
  unsigned char previous = 0;
  for (char c : text) {
    auto byte = static_cast<unsigned char>(c);
    // U+0080 to U+009F are control characters too, and terminals obey them.
    bool c1_control = previous == 0xC2 && byte >= 0x80 && byte <= 0x9F;
    if (c == '\n') {
      *out += "\\n";
    } else if (c == '\t') {
      *out += "\\t";
    } else if (c == '\r') {
      *out += "\\r";
    } else if (c == '\\') {
      *out += "\\\\";
    } else if (byte < 0x20 || byte == 0x7F) {
      append_hex(out, byte);
    } else if (c1_control) {
      out->pop_back();
      append_hex(out, previous);
      append_hex(out, byte);
    } else {
      *out += c;
    }
    previous = byte;
  }
}

void append_time(std::string* out, const timespec& now) {
  tm parts{};
  char text[sizeof "9999-12-31T23:59:59"];
  gmtime_r(&now.tv_sec, &parts);
  out->append(text, strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &parts));
  std::string milliseconds = std::to_string(1000 + now.tv_nsec / 1'000'000);
  *out += '.';
  out->append(milliseconds, 1);
  *out += 'Z';
}

__attribute__((format(printf, 1, 0))) std::string format_values(const char* format,
                                                                va_list values) {
  char* formatted = nullptr;
  int length = vasprintf(&formatted, format, values);
  if (length < 0) return format;
  std::unique_ptr<char, decltype(&free)> owner(formatted, free);
  return {formatted, static_cast<size_t>(length)};
}

void notify_observer(const LogLine& line) {
  if (current_observer.call == nullptr) return;
  Observer observer = std::exchange(current_observer, {});
  observer.call(observer.context, line);
  current_observer = observer;
}

// One write() a line, so that the lines of several processes never mix.
void record(const LogLine& line) {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  std::string bytes = format_log_line(now, getpid(), line);
  if (line_copy.call != nullptr) {
    line_copy.call(line_copy.context, std::string_view(bytes).substr(0, bytes.size() - 1));
  }
  ssize_t written = 0;
  do {
    written = write(STDERR_FILENO, bytes.data(), bytes.size());
  } while (written < 0 && errno == EINTR);
}

}  // namespace

void set_log_level(int level) {
  log_level = level;
  if (level < LOG_LEVEL_UPDATE) return;
  Log_Entry(LOG_LEVEL_WARNING, kSource, __LINE__,
            "Log level %d records passwords; choose %d or less to keep them out of the log.", level,
            LOG_LEVEL_UPDATE - 1);
}

void set_log_observer(LogObserver observer, void* context) {
  current_observer = {observer, context};
}

void set_log_copy(LogCopy copy, void* context) { line_copy = {copy, context}; }

std::string one_line(std::string_view text) {
  std::string line;
  append_escaped(&line, text);
  return line;
}

std::string format_log_line(const timespec& now, pid_t process, const LogLine& line) {
  std::string bytes;
  append_time(&bytes, now);
  bytes += ' ' + std::to_string(process) + ' ' + std::to_string(line.level) + ' ';
  append_escaped(&bytes, line.source);
  bytes += ':' + std::to_string(line.line) + ' ';
  append_escaped(&bytes, line.text);
  bytes += '\n';
  return bytes;
}

}  // namespace platen

void Log_Entry(int level, const char* source, int line, const char* format, ...) {
  bool recorded = level <= platen::log_level;
  if (!recorded && platen::current_observer.call == nullptr) return;
  int caller_errno = errno;
  va_list values;
  va_start(values, format);
  try {
    std::string text = platen::format_values(format, values);
    platen::LogLine entry{level, source, line, text};
    platen::notify_observer(entry);
    if (recorded) platen::record(entry);
  } catch (const std::bad_alloc&) {
    // The entry is lost; its caller is about to learn of the exhausted heap itself.
  }
  va_end(values);
  errno = caller_errno;
}
