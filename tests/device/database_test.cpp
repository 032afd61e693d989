// Tests of the database: claims, durability, processes side by side, failures.
// SPDX-License-Identifier: MIT
#include "device/database.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <functional>
#include <vector>

#include "temporary_directory.h"

namespace platen {
namespace {

constexpr char kSchema[] =
    "CREATE TABLE IF NOT EXISTS note (number INTEGER PRIMARY KEY, text TEXT)";

std::string reason_of(const std::function<void()>& action) {
  try {
    action();
  } catch (const DatabaseError& error) {
    return error.what();
  }
  return "";
}

int64_t count_notes(Database& database) {
  Statement found = database.prepare("SELECT count(*) FROM note");
  found.step();
  return found.integer(0);
}

// Runs `work` in a child process. Returns its wait status; a failure of the work is status 1.
int in_child(const std::function<void()>& work) {
  const pid_t child = fork();
  if (child == 0) {
    try {
      work();
    } catch (const DatabaseError&) {
      _exit(1);
    }
    _exit(0);
  }
  int status = -1;
  waitpid(child, &status, 0);
  return status;
}

TEST(Database, KeepsTextsAndNumbersAsTheyWere) {
  TemporaryDirectory directory;
  Database database(directory.file("d"));
  database.make(kSchema);
  const std::string bytes("a\0'\xFF\"\r\n", 7);
  EXPECT_EQ(database.run("INSERT INTO note VALUES (?1, ?2)", int64_t{1} << 40, bytes), 1);
  Statement row = database.prepare("SELECT number, text, NULL FROM note WHERE text = ?1", bytes);
  ASSERT_TRUE(row.step());
  EXPECT_EQ(row.integer(0), int64_t{1} << 40);
  EXPECT_EQ(row.text(1), bytes);
  EXPECT_EQ(row.text(2), "");
  EXPECT_FALSE(row.step());
}

TEST(Database, IsReadableByItsOwnerOnly) {
  TemporaryDirectory directory;
  Database database(directory.file("d"));
  database.make(kSchema);
  for (const char* name : {"d", "d-wal", "d-shm"}) {
    struct stat status;
    ASSERT_EQ(stat(directory.file(name).c_str(), &status), 0) << name;
    EXPECT_EQ(status.st_mode & 0777, 0600U) << name;
  }
}

TEST(Database, WritesDurably) {
  TemporaryDirectory directory;
  Database database(directory.file("d"));
  Statement mode = database.prepare(
      "SELECT journal_mode, synchronous FROM pragma_journal_mode, pragma_synchronous");
  ASSERT_TRUE(mode.step());
  EXPECT_EQ(mode.text(0), "wal");
  EXPECT_EQ(mode.integer(1), 2);
}

TEST(Database, KeepsWhatWasCommittedBeforeAKill) {
  TemporaryDirectory directory;
  Database database(directory.file("d"));
  database.make(kSchema);
  const int status = in_child([&] {
    database.run("INSERT INTO note (text) VALUES ('kept')");
    Transaction unfinished(database);
    database.run("INSERT INTO note (text) VALUES ('lost')");
    kill(getpid(), SIGKILL);
  });
  EXPECT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(count_notes(database), 1);
}

TEST(Database, RollsBackATransactionThatWasNotCommitted) {
  TemporaryDirectory directory;
  Database database(directory.file("d"));
  database.make(kSchema);
  {
    Transaction transaction(database);
    database.run("INSERT INTO note (text) VALUES ('x')");
  }
  EXPECT_EQ(count_notes(database), 0);
  Transaction transaction(database);
  database.run("INSERT INTO note (text) VALUES ('x')");
  transaction.commit();
  EXPECT_EQ(count_notes(database), 1);
}

TEST(Database, LeavesTheParentsConnectionAloneAfterAFork) {
  TemporaryDirectory directory;
  Database database(directory.file("d"));
  database.make(kSchema);
  Transaction transaction(database);
  database.run("INSERT INTO note (text) VALUES ('parent')");
  // The child sees what is committed only, and its end does not end the parent's transaction.
  EXPECT_EQ(in_child([&] { _exit(count_notes(database) == 0 ? 0 : 1); }), 0);
  transaction.commit();
  EXPECT_EQ(in_child([&] { _exit(count_notes(database) == 1 ? 0 : 1); }), 0);
}

TEST(Database, LetsManyProcessesMakeAndWriteItAtOnce) {
  constexpr int kProcesses = 6;
  constexpr int kNotes = 20;
  TemporaryDirectory directory;
  std::vector<pid_t> children;
  for (int i = 0; i < kProcesses; ++i) {
    const pid_t child = fork();
    if (child == 0) {
      const std::string reason = reason_of([&] {
        Database own(directory.file("d"));
        own.make(kSchema);
        for (int n = 0; n < kNotes; ++n) own.run("INSERT INTO note (text) VALUES ('x')");
      });
      if (!reason.empty()) std::fprintf(stderr, "%s\n", reason.c_str());
      _exit(reason.empty() ? 0 : 1);
    }
    children.push_back(child);
  }
  for (const pid_t child : children) {
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
  }
  Database database(directory.file("d"));
  EXPECT_EQ(count_notes(database), kProcesses * kNotes);
}

TEST(Database, RefusesWhatIsNoDatabaseOfItsOwn) {
  TemporaryDirectory directory;
  const std::string text = directory.write("text", std::string(2000, 'x'));
  EXPECT_EQ(reason_of([&] { Database(text).open(); }),
            text + ": file is not a database; name another file or move this one away");
  EXPECT_EQ(directory.read("text"), std::string(2000, 'x'));

  const std::string foreign = directory.file("foreign");
  sqlite3* other = nullptr;
  sqlite3_open(foreign.c_str(), &other);
  sqlite3_exec(other, "CREATE TABLE theirs (x)", nullptr, nullptr, nullptr);
  sqlite3_close(other);
  EXPECT_EQ(
      reason_of([&] { Database(foreign).open(); }),
      foreign + ": is a database of another program; name another file or move this one away");
}

TEST(Database, NamesAFileThatCannotBeMade) {
  EXPECT_EQ(reason_of([] { Database("/proc/none/d").open(); }),
            "/proc/none/d: No such file or directory; its directory must exist and be writable");
}

TEST(Database, NamesFileAndReasonOfABadStatement) {
  TemporaryDirectory directory;
  Database database(directory.file("d"));
  EXPECT_EQ(reason_of([&] { database.run("SELECT * FROM absent"); }),
            directory.file("d") + ": no such table: absent");
  EXPECT_EQ(reason_of([&] { database.make("CREATE TABLE a (x); CREATE TABLE a (x)"); }),
            directory.file("d") + ": table a already exists");
  EXPECT_EQ(reason_of([&] { database.run("SELECT * FROM a"); }),
            directory.file("d") + ": no such table: a");
}

TEST(Database, SaysThatTheDiskIsFull) {
  TemporaryDirectory directory;
  Database database(directory.file("d"));
  database.make(kSchema);
  database.prepare("PRAGMA max_page_count = 3").step();
  const std::string large(20000, 'x');
  EXPECT_EQ(reason_of([&] { database.run("INSERT INTO note (text) VALUES (?1)", large); }),
            directory.file("d") + ": database or disk is full; free space on its file system");
  EXPECT_EQ(count_notes(database), 0);
}

}  // namespace
}  // namespace platen
