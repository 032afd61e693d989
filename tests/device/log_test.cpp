// Tests of the system log: exact lines, the filter, the observer.
// SPDX-License-Identifier: MIT
#include "device/log.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <regex>
#include <sstream>
#include <vector>

#include "platform/log.h"
#include "temporary_directory.h"

namespace platen {
namespace {

constexpr timespec kMoment = {1'795'256'206, 7'999'999};

std::string formatted(std::string_view text) {
  return format_log_line(kMoment, 42, {3, "unit.cpp", 7, text});
}

// The log with the parts that differ from run to run (time, process) cut off each line.
std::vector<std::string> entries(const std::string& log) {
  static const std::regex start(R"(^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z \d+ )");
  std::vector<std::string> lines;
  std::istringstream input(log);
  for (std::string line; std::getline(input, line);) {
    EXPECT_TRUE(std::regex_search(line, start)) << line;
    lines.push_back(std::regex_replace(line, start, ""));
  }
  return lines;
}

// Standard error is a file of the test's own for the length of each test.
class LogTest : public testing::Test {
 protected:
  void SetUp() override {
    int log = open(directory_.file("log").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    ASSERT_GE(dup2(log, STDERR_FILENO), 0);
    close(log);
  }
  ~LogTest() override {
    dup2(standard_error_, STDERR_FILENO);
    close(standard_error_);
    set_log_observer(nullptr, nullptr);
    set_log_level(kDefaultLogLevel);
  }

  std::vector<std::string> logged() const { return entries(directory_.read("log")); }

  TemporaryDirectory directory_;
  int standard_error_ = dup(STDERR_FILENO);
};

TEST(LogLineTest, HoldsTimeProcessLevelPlaceAndText) {
  EXPECT_EQ(formatted("*** Illegal template path: /etc/x"),
            "2026-11-21T10:16:46.007Z 42 3 unit.cpp:7 *** Illegal template path: /etc/x\n");
}

TEST(LogLineTest, EscapesWhatCouldBreakALineOrATerminal) {
  const struct {
    std::string_view text, escaped;
  } rows[] = {
      {"", ""},
      {"a\nb\r\tc", R"(a\nb\r\tc)"},
      {"\x1B[31mred\x07\x7F", R"(\x1B[31mred\x07\x7F)"},
      {"a\\nb", R"(a\\nb)"},
      {"\xC2\x9B"
       "2J",
       R"(\xC2\x9B2J)"},
      {"gr\xC3\xBC\xC3\x9F dich \xC2\xA0", "gr\xC3\xBC\xC3\x9F dich \xC2\xA0"},
      {"\xC2\xC2\x85", "\xC2\\xC2\\x85"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(formatted(row.text),
              "2026-11-21T10:16:46.007Z 42 3 unit.cpp:7 " + std::string(row.escaped) + "\n");
  }
}

TEST_F(LogTest, RecordsEntriesUpToItsLevelInOrder) {
  Log_Entry(3, "a.cpp", 1, "first %s", "one");
  Log_Entry(7, "a.cpp", 2, "above the level");
  Log_Entry(6, "b.cpp", 3, "second %d", 2);
  EXPECT_EQ(logged(), (std::vector<std::string>{"3 a.cpp:1 first one", "6 b.cpp:3 second 2"}));
}

TEST_F(LogTest, WarnsOfPasswordsFromLevelNine) {
  set_log_level(8);
  EXPECT_EQ(logged(), std::vector<std::string>{});
  set_log_level(9);
  ASSERT_EQ(logged().size(), 1U);
  EXPECT_NE(logged()[0].find("Log level 9 records passwords; choose 8 or less"), std::string::npos);
}

TEST_F(LogTest, WritesAnEntryOfAnyLengthAsOneLine) {
  std::string text(100'000, 'x');
  Log_Entry(3, "a.cpp", 1, "%s", text.c_str());
  EXPECT_EQ(logged(), std::vector<std::string>{"3 a.cpp:1 " + text});
}

TEST_F(LogTest, KeepsErrnoOfItsCaller) {
  errno = ENOENT;
  Log_Entry(3, "a.cpp", 1, "x");
  EXPECT_EQ(errno, ENOENT);
}

TEST_F(LogTest, ObserverSeesEveryEntryUnescapedAndBeforeTheFilter) {
  std::vector<std::string> seen;
  set_log_observer(
      [](void* context, const LogLine& line) {
        static_cast<std::vector<std::string>*>(context)->push_back(
            std::to_string(line.level) + " " + std::string(line.source) + ":" +
            std::to_string(line.line) + " " + std::string(line.text));
        Log_Entry(3, "observer.cpp", 1, "its own");
      },
      &seen);
  Log_Entry(102, "a.cpp", 9, "two\nlines");
  EXPECT_EQ(seen, std::vector<std::string>{"102 a.cpp:9 two\nlines"});
  EXPECT_EQ(logged(), std::vector<std::string>{"3 observer.cpp:1 its own"});
  set_log_observer(nullptr, nullptr);
  Log_Entry(3, "a.cpp", 10, "unseen");
  EXPECT_EQ(seen.size(), 1U);
}

TEST_F(LogTest, LinesOfSeveralProcessesNeverMix) {
  constexpr int kProcesses = 4;
  constexpr int kLines = 200;
  for (int process = 0; process < kProcesses; ++process) {
    if (fork() == 0) {
      std::string text(static_cast<size_t>(1000 + process), static_cast<char>('a' + process));
      for (int line = 0; line < kLines; ++line) Log_Entry(3, "a.cpp", 1, "%s", text.c_str());
      _exit(0);
    }
  }
  for (int process = 0; process < kProcesses; ++process) wait(nullptr);
  std::vector<std::string> lines = logged();
  EXPECT_EQ(lines.size(), static_cast<size_t>(kProcesses * kLines));
  for (const std::string& line : lines) {
    size_t process = static_cast<size_t>(line.back() - 'a');
    EXPECT_EQ(line, "3 a.cpp:1 " + std::string(1000 + process, line.back()));
  }
}

TEST_F(LogTest, TheCopySeesEveryRecordedLineAsItStandsInTheLog) {
  std::string copied;
  set_log_copy(
      [](void* context, std::string_view line) {
        static_cast<std::string*>(context)->append(line).append("\n");
      },
      &copied);
  Log_Entry(3, "a.cpp", 1, "one\ntwo");
  Log_Entry(kDefaultLogLevel + 1, "a.cpp", 2, "not recorded");
  Log_Entry(5, "a.cpp", 3, "three");
  set_log_copy(nullptr, nullptr);
  Log_Entry(3, "a.cpp", 4, "four");
  EXPECT_EQ(entries(copied), (std::vector<std::string>{"3 a.cpp:1 one\\ntwo", "5 a.cpp:3 three"}));
  EXPECT_TRUE(directory_.read("log").starts_with(copied));
}

}  // namespace
}  // namespace platen
