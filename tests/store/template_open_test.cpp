// Several editors of one template, in processes and threads: no edit is lost, no value mixed up.
// SPDX-License-Identifier: MIT
#include "template_open.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "store_fixture.h"

namespace store_test {
namespace {

constexpr std::string_view kStart =
    "[service s]\n"
    "  [invocation one]\n"
    "    a (string) = 1\n"
    "    list (string) = x\n"
    "      = y\n"
    "  [invocation two]\n"
    "    a (string) = 2\n";

using Edits = std::function<void(TemplateObject*)>;

// Runs `work` in a process of its own; returns whether it ended as it should.
bool in_a_process(const std::function<bool()>& work) {
  pid_t child = ::fork();
  if (child == 0) ::_exit(work() ? 0 : 1);
  int status = -1;
  return ::waitpid(child, &status, 0) == child && status == 0;
}

bool edit_and_save(const std::string& path, const Edits& edits) {
  Template tpl(path);
  edits(tpl.get());
  return Close(tpl.get(), 1) == 1;
}

void set(TemplateObject* tpl, const char* invocation, const char* attribute, const char* value) {
  EXPECT_TRUE(WriteAttributeStringWInvoc(tpl, "s", invocation, attribute, value));
}
void add(TemplateObject* tpl, const char* value) {
  EXPECT_TRUE(WriteAttributeFromStringUseFirst(tpl, "s", "one", "list", nullptr, value, 0, 0));
}
std::string create(TemplateObject* tpl) {
  char name[1000];
  EXPECT_NE(CreateInvocationWSize(tpl, "s", name, sizeof name), 0);
  return name;
}

std::string with(std::string_view part, std::string_view replacement) {
  std::string text(kStart);
  return text.replace(text.find(part), part.size(), replacement);
}

// My edits are made and kept open while another process edits and saves; then I save.
TEST(TwoEditors, LoseNothing) {
  struct Row {
    const char* what;
    Edits mine, theirs;
    std::string result;
  };
  const Row rows[] = {
      {"different attributes", [](auto* t) { set(t, "one", "a", "mine"); },
       [](auto* t) { set(t, "two", "a", "theirs"); },
       "[service s]\n  [invocation one]\n    a (string) = mine\n    list (string) = x\n"
       "      = y\n  [invocation two]\n    a (string) = theirs\n"},
      {"the same attribute: the last save wins", [](auto* t) { set(t, "one", "a", "mine"); },
       [](auto* t) { set(t, "one", "a", "theirs"); }, with("= 1", "= mine")},
      {"values added to one list", [](auto* t) { add(t, "mine"); },
       [](auto* t) { add(t, "theirs"); }, with("= y\n", "= y\n      = theirs\n      = mine\n")},
      {"a value removed by both",
       [](auto* t) { EXPECT_TRUE(RemoveAttributeStringWInvoc(t, "s", "one", "list", "y")); },
       [](auto* t) { EXPECT_TRUE(RemoveAttributeStringWInvoc(t, "s", "one", "list", "y")); },
       with("      = y\n", "")},
      {"an update of an invocation that was deleted", [](auto* t) { set(t, "two", "a", "mine"); },
       [](auto* t) { EXPECT_TRUE(DeleteInvocation(t, "s", "two")); }, with("= 2", "= mine")},
      {"an update of a service that was deleted", [](auto* t) { set(t, "two", "a", "mine"); },
       [](auto* t) { EXPECT_TRUE(DeleteService(t, "s")); },
       "[service s]\n  [invocation two]\n    a (string) = mine\n"},
      {"deletes of what is gone",
       [](auto* t) {
         EXPECT_TRUE(DeleteAttributeWInvoc(t, "s", "two", "a"));
         EXPECT_TRUE(DeleteInvocation(t, "s", "two"));
       },
       [](auto* t) { EXPECT_TRUE(DeleteInvocation(t, "s", "two")); },
       with("  [invocation two]\n    a (string) = 2\n", "")},
      {"a new invocation whose name was taken",
       [](auto* t) {
         std::string name = create(t);
         EXPECT_EQ(name, "s_1");
         set(t, name.c_str(), "a", "mine");
       },
       [](auto* t) { set(t, create(t).c_str(), "a", "theirs"); },
       std::string(kStart) + "  [invocation s_1]\n    a (string) = theirs\n"
                             "  [invocation s_2]\n    a (string) = mine\n"},
      {"a new invocation that is deleted again, and one that was taken",
       [](auto* t) {
         EXPECT_TRUE(DeleteInvocation(t, "s", create(t).c_str()));
         set(t, create(t).c_str(), "a", "mine");
       },
       [](auto* t) { set(t, create(t).c_str(), "a", "theirs"); },
       std::string(kStart) + "  [invocation s_1]\n    a (string) = theirs\n"
                             "  [invocation s_2]\n    a (string) = mine\n"},
      {"no invocation named: the first of what is there by then",
       [](auto* t) { set(t, nullptr, "a", "mine"); },
       [](auto* t) { EXPECT_TRUE(DeleteInvocation(t, "s", "one")); },
       "[service s]\n  [invocation two]\n    a (string) = mine\n"},
      {"edits that come to what is there", [](auto* t) { set(t, "one", "a", "both"); },
       [](auto* t) { set(t, "one", "a", "both"); }, with("= 1", "= both")},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    Directory directory;
    std::string path = directory.write("t.ktp", kStart);
    Template tpl(path);
    row.mine(tpl.get());
    ASSERT_TRUE(in_a_process([&] { return edit_and_save(path, row.theirs); }));
    EXPECT_EQ(Close(tpl.get(), 1), 1) << tpl.error();
    EXPECT_EQ(bytes_of(path), row.result);
    EXPECT_EQ(directory.names().size(), 1U);
  }
}

TEST(TwoEditors, FindTheWorkOfASaverThatChangedOnlyComments) {
  Directory directory;
  std::string path = directory.write("t.ktp", kStart);
  Template tpl(path);
  set(tpl.get(), "one", "a", "mine");
  directory.write("t.ktp", "# by hand\n" + std::string(kStart));
  EXPECT_EQ(Close(tpl.get(), 1), 1);
  EXPECT_EQ(bytes_of(path), "# by hand\n" + with("= 1", "= mine"));
}

TEST(ManyEditors, LoseNothingWhenTheySaveAtOnce) {
  constexpr int kEditors = 4;
  constexpr int kSaves = 5;
  Directory directory;
  std::string path = directory.write("t.ktp", kStart);
  std::vector<pid_t> children;
  for (int editor = 0; editor < kEditors; ++editor) {
    pid_t child = ::fork();
    if (child == 0) {
      bool good = true;
      for (int save = 0; save < kSaves; ++save) {
        std::string value = std::to_string(editor) + "." + std::to_string(save);
        good = good && edit_and_save(path, [&](TemplateObject* tpl) { add(tpl, value.c_str()); });
      }
      ::_exit(good ? 0 : 1);
    }
    children.push_back(child);
  }
  for (pid_t child : children) {
    int status = -1;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
  }
  std::vector<std::string> values = Template(path).read_all("s", "one", "list");
  std::vector<std::string> expected = {"x", "y"};
  for (int editor = 0; editor < kEditors; ++editor) {
    for (int save = 0; save < kSaves; ++save) {
      expected.push_back(std::to_string(editor) + "." + std::to_string(save));
    }
  }
  std::sort(values.begin() + 2, values.end());
  EXPECT_EQ(values, expected);
  EXPECT_EQ(directory.names().size(), 1U);
}

TEST(ManyThreads, EachHaveTheirOwnValuesAndShareTheFailures) {
  constexpr int kThreads = 4;
  constexpr int kTurns = 50;
  Directory directory;
  std::string path = directory.write("t.ktp", kStart);
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  take_failures();
  for (int number = 0; number < kThreads; ++number) {
    threads.emplace_back([&] {
      for (int turn = 0; turn < kTurns; ++turn) {
        Template tpl(path);
        EXPECT_EQ(tpl.read_all("s", "one", "list"), (std::vector<std::string>{"x", "y"}));
        EXPECT_NE(ReadAttributeStringWInvocUseFirstAsString(tpl.get(), "s", "two", "a", TRUE),
                  nullptr);
        if (turn % 10 == 0) {
          EXPECT_FALSE(WriteAttributeStringWInvoc(tpl.get(), "s", "absent", "a", "v"));
        }
      }
      jt_release_values();
    });
  }
  for (std::thread& thread : threads) thread.join();
  std::string failures = take_failures();
  EXPECT_EQ(std::count(failures.begin(), failures.end(), '\n'), kThreads * kTurns / 10);
}

}  // namespace
}  // namespace store_test
