// What reaches the disk: atomic saves under every fault, locks, and files that are no templates.
// SPDX-License-Identifier: MIT
#include "template_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <functional>
#include <string>
#include <vector>

#include "faulty_system.h"
#include "store_fixture.h"

namespace store_test {
namespace {

constexpr std::string_view kOld = "[service s]\n  [invocation i]\n    a (string) = old\n";
constexpr std::string_view kNew = "[service s]\n  [invocation i]\n    a (string) = new\n";
bool has_temporary(const Directory& directory) {
  std::vector<std::string> names = directory.names();
  return std::any_of(names.begin(), names.end(),
                     [](const std::string& name) { return name.front() == '.'; });
}

void edit(Template& tpl, const char* value) {
  ASSERT_TRUE(WriteAttributeStringWInvoc(tpl.get(), "s", nullptr, "a", value));
}

// One operation that takes the target file from kOld (or nothing) to kNew (or nothing).
struct Job {
  const char* name;
  const char* before;  // bytes of the target, null = there is none
  const char* after;
  std::function<bool(const Directory&)> run;
};

bool run_save(const Directory& directory) {
  Template tpl;
  Open(tpl.get(), directory.file("target.ktp").c_str(), 2);
  WriteAttributeStringWInvoc(tpl.get(), "s", nullptr, "a", "new");
  return Close(tpl.get(), 1) == 1;
}
bool run_copy(const Directory& directory) {
  return CopyCKwtTemplate(directory.file("source.ktp").c_str(),
                          directory.file("target.ktp").c_str()) == KWT_SUCCESS;
}
bool run_delete(const Directory& directory) {
  return DeleteCKwtTemplateWFilename(directory.file("target.ktp").c_str()) == 1;
}

const Job kJobs[] = {{"save", kOld.data(), kNew.data(), run_save},
                     {"copy over", kOld.data(), kNew.data(), run_copy},
                     {"copy to a new file", nullptr, kNew.data(), run_copy},
                     {"delete", kOld.data(), nullptr, run_delete}};

class Faults : public testing::TestWithParam<Job> {
 protected:
  void prepare(const Directory& directory) {
    directory.write("source.ktp", kNew);
    if (GetParam().before) directory.write("target.ktp", GetParam().before);
  }
  static bool holds(const Directory& directory, const char* bytes) {
    std::string path = directory.file("target.ktp");
    return bytes ? bytes_of(path) == bytes : !std::filesystem::exists(path);
  }
  // Runs the job with a fault at each of its calls in turn; returns how many there were.
  int sweep(Fault fault) {
    for (int call = 1;; ++call) {
      Directory directory;
      prepare(directory);
      std::size_t descriptors = open_descriptors();
      FaultySystem system(fault, call);
      bool done = false;
      {
        Using faulty(&system);
        done = GetParam().run(directory);
      }
      check(directory, system, done, fault);
      EXPECT_EQ(open_descriptors(), descriptors);
      if (!system.was_reached()) return call - 1;
    }
  }
  void check(const Directory& directory, const FaultySystem& system, bool done, Fault fault) {
    SCOPED_TRACE(system.failed_call());
    bool unharmed = system.failed_call().empty() || system.failed_call() == kHarmless;
    EXPECT_TRUE(fault == Fault::kOnce ? done == unharmed : unharmed || !done);
    bool on_disk = done || system.failed_call() == "fsync directory";
    EXPECT_TRUE(holds(directory, on_disk ? GetParam().after : GetParam().before));
    EXPECT_FALSE(fault == Fault::kOnce && has_temporary(directory));
    take_failures();
    EXPECT_EQ(GetParam().run(directory), GetParam().after || !on_disk);
    EXPECT_TRUE(holds(directory, GetParam().after));
    EXPECT_FALSE(has_temporary(directory));
    take_failures();
  }
};

TEST_P(Faults, LeaveTheOldOrTheNewFileWhenACallFailsOnce) { EXPECT_GE(sweep(Fault::kOnce), 5); }

TEST_P(Faults, LeaveTheOldOrTheNewFileWhenAllFurtherCallsFail) {
  EXPECT_GE(sweep(Fault::kLasting), 5);
}

TEST_P(Faults, LeaveTheOldOrTheNewFileWhenTheProcessIsKilled) {
  for (int call = 1;; ++call) {
    Directory directory;
    prepare(directory);
    pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      FaultySystem system(Fault::kKill, call);
      store::use_system(&system);
      GetParam().run(directory);
      ::_exit(0);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    bool is_old = holds(directory, GetParam().before);
    EXPECT_TRUE(is_old || holds(directory, GetParam().after)) << call;
    EXPECT_EQ(GetParam().run(directory), GetParam().after || is_old) << call;
    EXPECT_FALSE(has_temporary(directory)) << call;
    if (WEXITSTATUS(status) != kKilled) break;
  }
}

INSTANTIATE_TEST_SUITE_P(EveryCall, Faults, testing::ValuesIn(kJobs), [](const auto& tested) {
  std::string name = tested.param.name;
  std::replace(name.begin(), name.end(), ' ', '_');
  return name;
});

TEST(Faults, OfAListingEmptyTheListAndLeakNothing) {
  Directory directory;
  directory.write("a.ktp", "");
  TemplatePoolObject pool;
  CKwtPool(&pool);
  SetPath(&pool, directory.path().c_str());
  std::size_t descriptors = open_descriptors();
  for (int call = 1;; ++call) {
    FaultySystem system(Fault::kOnce, call);
    Using faulty(&system);
    bool_t done = Refresh(&pool);
    EXPECT_EQ(open_descriptors(), descriptors);
    if (!system.was_reached()) break;
    EXPECT_FALSE(done);
    EXPECT_EQ(GetTemplateList(&pool), nullptr);
  }
  EXPECT_EQ(pool.count, 1);
  DestructorCKwtPool(&pool);
}

TEST(Save, TellsTheReasonOfTheSystem) {
  Directory directory;
  std::string path = directory.write("a.ktp", kOld);
  Template tpl(path);
  edit(tpl, "new");
  struct FullDisk : store::System {
    ssize_t write(int, const char*, std::size_t) override {
      errno = ENOSPC;
      return -1;
    }
  } system;
  Using full(&system);
  EXPECT_EQ(Close(tpl.get(), 1), 0);
  EXPECT_EQ(tpl.error(), path + ": it cannot be written: No space left on device");
  EXPECT_EQ(take_failures(), path + ": save: it cannot be written: No space left on device\n");
}

TEST(Save, KeepsModeAndOwner) {
  Directory directory;
  std::string path = directory.write("a.ktp", kOld);
  bool root = ::geteuid() == 0;  // only root can make a file that is somebody else's
  ASSERT_EQ(root ? ::chown(path.c_str(), 12345, 54321) : 0, 0);
  ASSERT_EQ(::chmod(path.c_str(), 0646), 0);
  struct stat before = info_of(path);
  Template tpl(path);
  edit(tpl, "new");
  EXPECT_EQ(Close(tpl.get(), 1), 1);
  struct stat after = info_of(path);
  EXPECT_EQ(after.st_mode, before.st_mode);
  EXPECT_EQ(after.st_uid, before.st_uid);
  EXPECT_EQ(after.st_gid, before.st_gid);
  EXPECT_NE(after.st_ino, before.st_ino);
}

TEST(Save, MayLackThePermissionToKeepTheOwner) {
  Directory directory;
  std::string path = directory.write("a.ktp", kOld);
  struct NoOwner : store::System {
    int fchown(int, uid_t, gid_t) override {
      errno = EPERM;
      return -1;
    }
  } system;
  Using no_owner(&system);
  Template tpl(path);
  edit(tpl, "new");
  EXPECT_EQ(Close(tpl.get(), 1), 1);
  EXPECT_EQ(bytes_of(path), kNew);
}

// Reads and writes byte by byte, and is interrupted before each.
struct HesitantSystem : store::System {
  bool interrupts() {
    interrupted = !interrupted;
    if (interrupted) errno = EINTR;
    return interrupted;
  }
  ssize_t read(int file, char* buffer, std::size_t) override {
    return interrupts() ? -1 : System::read(file, buffer, 1);
  }
  ssize_t write(int file, const char* bytes, std::size_t) override {
    return interrupts() ? -1 : System::write(file, bytes, 1);
  }
  bool interrupted = false;
};

TEST(Save, GoesOnAfterShortAndInterruptedCalls) {
  Directory directory;
  std::string path = directory.write("a.ktp", kOld);
  HesitantSystem system;
  Using hesitant(&system);
  Template tpl(path);
  edit(tpl, "new");
  EXPECT_EQ(Close(tpl.get(), 1), 1);
  EXPECT_EQ(bytes_of(path), kNew);
}

class Lock : public testing::Test {
 protected:
  Lock() : holder_(::open(directory_.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    EXPECT_EQ(::flock(holder_, LOCK_EX), 0);
  }
  ~Lock() override { ::close(holder_); }

  Directory directory_;
  std::string path_ = directory_.write("a.ktp", kOld);
  int holder_;
  StoppedClock clock_;
  Using stopped_{&clock_};
};

TEST_F(Lock, OfSomebodyElseFailsASaveAfterFiveSeconds) {
  Template tpl(path_);
  edit(tpl, "new");
  EXPECT_EQ(Close(tpl.get(), 1), 0);
  EXPECT_EQ(clock_.now, 5000);
  EXPECT_EQ(GetLastTemplateError(tpl.get()), KWTERR_LOCK_CREATE);
  EXPECT_EQ(take_failures(),
            path_ + ": save: somebody else is saving in its directory; try again\n");
  EXPECT_EQ(bytes_of(path_), kOld);
}

TEST_F(Lock, OfSomebodyElseFailsCopyAndDelete) {
  EXPECT_EQ(CopyCKwtTemplate(path_.c_str(), directory_.file("b.ktp").c_str()), KWTERR_LOCK_CREATE);
  EXPECT_EQ(DeleteCKwtTemplateWFilename(path_.c_str()), 0);
  EXPECT_EQ(clock_.now, 10000);
  EXPECT_EQ(directory_.names(), std::vector<std::string>{"a.ktp"});
}

TEST_F(Lock, IsWaitedFor) {
  clock_.at_pause = [this] {
    if (clock_.now == 30) ::flock(holder_, LOCK_UN);
  };
  Template tpl(path_);
  edit(tpl, "new");
  EXPECT_EQ(Close(tpl.get(), 1), 1);
  EXPECT_EQ(clock_.now, 30);
  EXPECT_EQ(bytes_of(path_), kNew);
}

TEST_F(Lock, IsNotNeededToOpenReadAndCloseUnchanged) {
  Template tpl(path_);
  EXPECT_EQ(tpl.read("s", nullptr, "a"), "old");
  EXPECT_EQ(Close(tpl.get(), 1), 1);
  EXPECT_EQ(clock_.now, 0);
}

class OddFiles : public testing::Test {
 protected:
  OddFiles() {
    ::mkdir(file("directory").c_str(), 0700);
    ::mkfifo(file("pipe").c_str(), 0600);
    ::symlink("good", file("link").c_str());
    ::symlink("loop", file("loop").c_str());
    directory_.write("good", kOld);
    directory_.write("huge", std::string((4 << 20) + 1, '#'));
    directory_.write("binary", std::string_view("\x7F"
                                                "ELF\0\0",
                                                6));
  }
  [[nodiscard]] std::string file(const char* name) const { return directory_.file(name); }

  struct Row {
    std::string path;
    KWTSTATUS error;
  };
  [[nodiscard]] std::vector<Row> rows() const {
    return {{file("absent"), KWTERR_FILE_OPEN},
            {file("good/below"), KWTERR_FILE_OPEN},
            {"", KWTERR_FILE_OPEN},
            {std::string(5000, 'x'), KWTERR_FILE_OPEN},
            {file("link"), KWTERR_FILE_OPEN},
            {file("loop"), KWTERR_FILE_OPEN},
            {file("directory"), KWTERR_FILE_ACCES},
            {file("pipe"), KWTERR_FILE_ACCES},
            {"/dev/null", KWTERR_FILE_ACCES},
            {file("huge"), KWTERR_FILE_SIZE},
            {file("binary"), KWTERR_INVALID_DATA}};
  }

  Directory directory_;
};

TEST_F(OddFiles, AreRefusedByOpenWithAReason) {
  for (const Row& row : rows()) {
    Template tpl;
    EXPECT_EQ(Open(tpl.get(), row.path.c_str(), 0), 0) << row.path;
    EXPECT_EQ(GetLastTemplateError(tpl.get()), row.error) << row.path;
    EXPECT_EQ(tpl.error().rfind(row.path, 0), 0U) << tpl.error();
    EXPECT_GT(tpl.error().size(), row.path.size() + 2);
  }
}

TEST_F(OddFiles, AreRefusedAsSourceOfACopy) {
  std::string target = directory_.write("target", kOld);
  for (const Row& row : rows()) {
    EXPECT_EQ(CopyCKwtTemplate(row.path.c_str(), target.c_str()), row.error) << row.path;
    EXPECT_EQ(bytes_of(target), kOld);
  }
  EXPECT_EQ(CopyCKwtTemplate(nullptr, target.c_str()), KWTERR_INVALID_PARAMETER);
  EXPECT_EQ(CopyCKwtTemplate(target.c_str(), nullptr), KWTERR_INVALID_PARAMETER);
}

TEST_F(OddFiles, AreNotReplacedOrDeleted) {
  for (const char* name : {"directory", "pipe", "link", "loop"}) {
    mode_t mode = info_of(file(name)).st_mode;
    EXPECT_EQ(CopyCKwtTemplate(file("good").c_str(), file(name).c_str()), KWTERR_FILE_ACCES);
    EXPECT_EQ(DeleteCKwtTemplateWFilename(file(name).c_str()), 0);
    EXPECT_EQ(info_of(file(name)).st_mode, mode);
  }
  EXPECT_EQ(DeleteCKwtTemplateWFilename(file("absent").c_str()), 0);
  EXPECT_EQ(DeleteCKwtTemplateWFilename(nullptr), 0);
  EXPECT_EQ(CopyCKwtTemplate(file("good").c_str(), file("absent/x").c_str()), KWTERR_LOCK_CREATE);
  EXPECT_EQ(CopyCKwtTemplate(file("good").c_str(), ""), KWTERR_FILE_ACCES);
  EXPECT_EQ(CopyCKwtTemplate(file("good").c_str(), file("directory/").c_str()), KWTERR_FILE_ACCES);
}

TEST(Open, TakesAFileOfExactly4MiB) {
  Directory directory;
  std::string bytes(4 << 20, '#');
  Template tpl(directory.write("full.ktp", bytes));
  EXPECT_EQ(ListInvocations(tpl.get(), "s"), nullptr);
}

TEST(Open, TellsAMissingPermissionAndAFileThatChangedMeanwhile) {
  Directory directory;
  std::string path = directory.write("a.ktp", kOld);
  struct Locked : store::System {
    int openat(int, const char*, int, mode_t) override {
      errno = EACCES;
      return -1;
    }
  } locked;
  struct Growing : store::System {
    int fstat(int file, struct stat* info) override {
      int result = System::fstat(file, info);
      info->st_size -= 5;
      return result;
    }
  } growing;
  Template tpl;
  {
    Using no_permission(&locked);
    EXPECT_EQ(Open(tpl.get(), path.c_str(), 0), 0);
    EXPECT_EQ(tpl.error(), path + ": there is no permission to read it: Permission denied");
  }
  Using grows(&growing);
  EXPECT_EQ(Open(tpl.get(), path.c_str(), 0), 0);
  EXPECT_EQ(tpl.error(), path + ": it changed while it was read");
}

TEST(Copy, KeepsTheDestinationsModeOrTakesTheSources) {
  Directory directory;
  std::string source = directory.write("source.ktp", kNew);
  std::string old = directory.write("old.ktp", kOld);
  ASSERT_EQ(::chmod(source.c_str(), 0640), 0);
  ASSERT_EQ(::chmod(old.c_str(), 0604), 0);
  std::string fresh = directory.file("fresh.ktp");
  EXPECT_EQ(CopyCKwtTemplate(source.c_str(), old.c_str()), KWT_SUCCESS);
  EXPECT_EQ(CopyCKwtTemplate(source.c_str(), fresh.c_str()), KWT_SUCCESS);
  EXPECT_EQ(info_of(old).st_mode & 07777, 0604U);
  EXPECT_EQ(info_of(fresh).st_mode & 07777, 0640U);
  EXPECT_EQ(bytes_of(old) + bytes_of(fresh), std::string(kNew) + std::string(kNew));
}

TEST(Copy, GivesTheFileToTheDestinationsOwnerIfThereIsOne) {
  Directory directory;
  std::string source = directory.write("source.ktp", kNew);
  std::string old = directory.write("old.ktp", kOld);
  bool root = ::geteuid() == 0;  // only root can make a file that is somebody else's
  ASSERT_EQ(root ? ::chown(old.c_str(), 12345, 54321) : 0, 0);
  struct stat before = info_of(old);
  std::string fresh = directory.file("fresh.ktp");
  EXPECT_EQ(CopyCKwtTemplate(source.c_str(), old.c_str()), KWT_SUCCESS);
  EXPECT_EQ(CopyCKwtTemplate(old.c_str(), fresh.c_str()), KWT_SUCCESS);
  EXPECT_EQ(info_of(old).st_uid, before.st_uid);
  EXPECT_EQ(info_of(old).st_gid, before.st_gid);
  EXPECT_EQ(info_of(fresh).st_uid, ::geteuid());
}

TEST(Copy, OntoItselfChangesNothing) {
  Directory directory;
  std::string path = directory.write("a.ktp", kOld);
  struct stat before = info_of(path);
  EXPECT_EQ(CopyCKwtTemplate(path.c_str(), (directory.path() + "/./a.ktp").c_str()), KWT_SUCCESS);
  EXPECT_EQ(info_of(path).st_ino, before.st_ino);
  EXPECT_EQ(info_of(path).st_ctim.tv_nsec, before.st_ctim.tv_nsec);
}

}  // namespace
}  // namespace store_test
