// The journal of a test, and the platform functions of the module that write into it.
// SPDX-License-Identifier: MIT
#include "journal.h"

#include <cstdarg>
#include <cstddef>
#include <cstdio>

#include "allocations.h"
#include "log.h"
#include "server.h"

namespace {

std::string formatted(const char* format, va_list values) {
  va_list again;
  va_copy(again, values);
  const int length = std::vsnprintf(nullptr, 0, format, values);
  std::string text(static_cast<std::size_t>(length) + 1, '\0');
  std::vsnprintf(text.data(), text.size(), format, again);
  va_end(again);
  text.pop_back();
  return text;
}

// The lines of the platform's own header are fixed; those of the module's units only have to be
// there.
std::string place(const std::string& source, int line) {
  if (source == "configapi.h") return source + ":" + std::to_string(line);
  return source + (line > 0 ? "" : " (without its line)");
}

}  // namespace

Journal& journal() {
  static Journal one;
  return one;
}

void Journal::add(const std::string& line) {
  if (paused_) return;
  lines_.push_back(line);
  if (echo_) std::fprintf(stderr, "%s\n", line.c_str());
}

void Journal::clear() { lines_.clear(); }

Lines Journal::lines_of(const std::string& kind) const {
  Lines found;
  for (const std::string& line : lines_) {
    if (line.starts_with(kind)) found.push_back(line.substr(kind.size()));
  }
  return found;
}

Lines Journal::calls() const {
  Lines found;
  for (const std::string& line : lines_) {
    if (!line.starts_with("log ") && !line.starts_with("page ")) found.push_back(line);
  }
  return found;
}

std::string Journal::page() const {
  std::string text;
  for (const std::string& piece : prints()) text += piece;
  return text;
}

std::string mailbox_log(int level, const std::string& text) {
  return std::to_string(level) + " http_mailbox.cpp " + text;
}

std::string parser_log(int level, const std::string& text) {
  return std::to_string(level) + " http_parser.cpp " + text;
}

std::string support_log(int level, const std::string& text) {
  return std::to_string(level) + " http_template_support.cpp " + text;
}

std::string entered(const std::string& function) { return parser_log(8, "ENTER " + function); }

std::string left(const std::string& function) { return parser_log(8, "EXIT " + function); }

Lines joined(std::initializer_list<Lines> groups) {
  Lines all;
  for (const Lines& group : groups) all.insert(all.end(), group.begin(), group.end());
  return all;
}

Lines part(const Lines& lines, std::size_t first, std::size_t count) {
  if (lines.size() < first + count) return {"fewer lines"};
  const auto begin = lines.begin() + static_cast<std::ptrdiff_t>(first);
  return {begin, begin + static_cast<std::ptrdiff_t>(count)};
}

std::string echoed(const Lines& logs) {
  std::string text;
  for (const std::string& line : logs) text += "log " + line + "\n";
  return text;
}

void Log_Entry(int level, const char* source, int line, const char* format, ...) {
  if (journal().paused()) return;
  journal().note_level(level);
  const TestMemory own;
  va_list values;
  va_start(values, format);
  const std::string text = formatted(format, values);
  va_end(values);
  journal().add("log " + std::to_string(level) + " " + place(source, line) + " " + text);
}

int adiprintf(QVN_AppData* udata, const char* format, ...) {
  if (journal().paused()) return 0;
  const TestMemory own;
  va_list values;
  va_start(values, format);
  const std::string text = formatted(format, values);
  va_end(values);
  journal().add("page " + text + (udata != nullptr ? "" : " (without its request)"));
  return static_cast<int>(text.size());
}
