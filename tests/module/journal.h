// The journal of a test: what the module logged, printed and asked of the store, in one order.
// SPDX-License-Identifier: MIT
#ifndef TESTS_MODULE_JOURNAL_H_
#define TESTS_MODULE_JOURNAL_H_

#include <string>
#include <vector>

using Lines = std::vector<std::string>;

// Lines begin with their kind: "log LEVEL UNIT TEXT", "page TEXT", or the name of a store function.
class Journal {
 public:
  void add(const std::string& line);
  void clear();

  // In the child of a death test: writes each line to the standard error stream as it comes.
  void echo() { echo_ = true; }
  // For tests that count memory: nothing is kept.
  void pause() { paused_ = true; }
  void resume() { paused_ = false; }
  bool paused() const { return paused_; }

  // Keeps the level of the latest log line in `level` as well, for a child process; null ends that.
  void mirror_level(int* level) { level_ = level; }
  void note_level(int level) {
    if (level_ != nullptr) *level_ = level;
  }

  const Lines& lines() const { return lines_; }
  Lines logs() const { return lines_of("log "); }
  Lines calls() const;
  // The text of the page, and the pieces in which it was printed.
  std::string page() const;
  Lines prints() const { return lines_of("page "); }

 private:
  Lines lines_of(const std::string& kind) const;

  Lines lines_;
  bool echo_ = false;
  bool paused_ = false;
  int* level_ = nullptr;
};

Journal& journal();

// The log lines of the units, as the journal's logs() holds them.
std::string mailbox_log(int level, const std::string& text);
std::string parser_log(int level, const std::string& text);
std::string support_log(int level, const std::string& text);
std::string entered(const std::string& function);
std::string left(const std::string& function);

// Joins groups of lines into one list.
Lines joined(std::initializer_list<Lines> groups);

// Lines from `first` on, `count` of them.
Lines part(const Lines& lines, std::size_t first, std::size_t count);

// The lines as a death test reads them.
std::string echoed(const Lines& logs);

#endif  // TESTS_MODULE_JOURNAL_H_
