// What is kept of a template before it changes: names, bytes, limits, faults and kills.
// SPDX-License-Identifier: MIT
#include "template_history.h"

#include <gtest/gtest.h>
#include <limits.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "faulty_system.h"
#include "store_fixture.h"

namespace store_test {
namespace {

constexpr long long kTime = 1795268040;  // 2026-11-21 13:34:00

std::string text_with(const std::string& value) {
  return "# by hand\n[service s]\n  [invocation i]\n    a (string) = " + value + "\n";
}

// The real calls at a time that stands still.
struct FixedTime : store::System {
  long long seconds() override { return now; }
  long long now = kTime;
};

// The same for what only sets the stage, and need not survive a power cut.
struct Unsynced : FixedTime {
  int fsync(int) override { return 0; }
};

bool save(const std::string& path, const char* value) {
  Template tpl;
  Open(tpl.get(), path.c_str(), 2);
  WriteAttributeStringWInvoc(tpl.get(), "s", nullptr, "a", value);
  return Close(tpl.get(), 1) == 1;
}

bool copy(const std::string& from, const std::string& to) {
  return CopyCKwtTemplate(from.c_str(), to.c_str()) == KWT_SUCCESS;
}

bool remove(const std::string& path) { return DeleteCKwtTemplateWFilename(path.c_str()) == 1; }

struct Kept {
  std::string id, act, who, bytes;
  bool operator==(const Kept& other) const = default;
};

std::vector<Kept> kept_of(const std::string& path) {
  std::unique_ptr<JT_VERSION, void (*)(JT_VERSION*)> list(jt_versions(path.c_str()),
                                                          jt_free_versions);
  std::vector<Kept> all;
  for (const JT_VERSION* node = list.get(); node; node = node->next) {
    all.push_back({node->id, node->act, node->who, bytes_of(node->path)});
    EXPECT_EQ(node->size, static_cast<long long>(all.back().bytes.size()));
  }
  return all;
}

std::vector<std::string> bytes_kept_of(const std::string& path) {
  std::vector<std::string> all;
  for (const Kept& kept : kept_of(path)) all.push_back(kept.bytes);
  return all;
}

// Every file and directory below one, with the paths from there.
std::vector<std::string> tree(const std::string& directory) {
  std::vector<std::string> found;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(directory)) {
    found.push_back(entry.path().string().substr(directory.size()));
  }
  std::sort(found.begin(), found.end());
  return found;
}

class History : public testing::Test {
 protected:
  History() { jt_history(root_.path().c_str(), 20, "anna"); }
  ~History() override {
    jt_history(nullptr, 0, nullptr);
    take_failures();
  }

  // Where the versions of the template are.
  [[nodiscard]] std::string place() const { return root_.path() + path_; }
  void expect_failure(const std::string& act, const std::string& reason) const {
    EXPECT_EQ(take_failures(), path_ + ": " + act + ": " + reason + "\n");
    EXPECT_EQ(bytes_of(path_), text_with("one"));
  }

  Directory root_;
  Directory pool_;
  std::string path_ = pool_.write("Front desk.KTP", text_with("one"));
  FixedTime time_;
  Using fixed_{&time_};
};

TEST_F(History, IsADirectoryForEachTemplateWithAFileForEachChange) {
  EXPECT_TRUE(save(path_, "two"));
  jt_history(root_.path().c_str(), 20, "bert");
  time_.now += 86400;
  EXPECT_TRUE(copy(pool_.write("other.KTP", text_with("three")), path_));
  EXPECT_TRUE(remove(path_));
  std::vector<std::string> expected;
  for (std::size_t end = 1; end != std::string::npos && end < path_.size();
       end = path_.find('/', end + 1)) {
    if (end > 1) expected.push_back(path_.substr(0, end));
  }
  expected.push_back(path_);
  expected.push_back(path_ + "/0000000001-20261121T133400Z-save-anna");
  expected.push_back(path_ + "/0000000002-20261122T133400Z-copy-bert");
  expected.push_back(path_ + "/0000000003-20261122T133400Z-delete-bert");
  EXPECT_EQ(tree(root_.path()), expected);
  EXPECT_EQ(kept_of(path_), (std::vector<Kept>{{"3", "delete", "bert", text_with("three")},
                                               {"2", "copy", "bert", text_with("two")},
                                               {"1", "save", "anna", text_with("one")}}));
}

TEST_F(History, TellsTheTimeAndPathOfAVersionThatOpensAndIsCopiedBack) {
  EXPECT_TRUE(save(path_, "two"));
  JT_VERSION* version = jt_versions(path_.c_str());
  ASSERT_NE(version, nullptr);
  EXPECT_EQ(version->time, kTime);
  EXPECT_EQ(version->path, place() + "/0000000001-20261121T133400Z-save-anna");
  EXPECT_EQ(Template(version->path).read("s", "i", "a"), "one");
  EXPECT_TRUE(copy(version->path, path_));
  jt_free_versions(version);
  EXPECT_EQ(bytes_of(path_), text_with("one"));
  EXPECT_EQ(bytes_kept_of(path_), (std::vector<std::string>{text_with("two"), text_with("one")}));
}

TEST_F(History, KeepsNothingWhenNothingChangesOrNothingWasThere) {
  EXPECT_TRUE(save(path_, "one"));
  EXPECT_TRUE(copy(path_, path_));
  EXPECT_TRUE(copy(path_, pool_.file("new.KTP")));
  EXPECT_TRUE(copy(path_, pool_.file("new.KTP")));
  EXPECT_FALSE(remove(pool_.file("absent.KTP")));
  EXPECT_EQ(tree(root_.path()), std::vector<std::string>{});
  EXPECT_EQ(jt_versions(path_.c_str()), nullptr);
}

TEST_F(History, DropsTheOldestAndNeverGivesANumberAgain) {
  jt_history(root_.path().c_str(), 2, nullptr);
  for (const char* value : {"two", "three", "four"}) EXPECT_TRUE(save(path_, value));
  EXPECT_EQ(kept_of(path_), (std::vector<Kept>{{"3", "save", "", text_with("three")},
                                               {"2", "save", "", text_with("two")}}));
  jt_history(root_.path().c_str(), 0, "");
  EXPECT_TRUE(save(path_, "five"));
  EXPECT_EQ(kept_of(path_), (std::vector<Kept>{{"4", "save", "", text_with("four")}}));
}

TEST_F(History, GoesByNumberWhateverTheClockSays) {
  EXPECT_TRUE(save(path_, "two"));
  time_.now = 0;
  EXPECT_TRUE(save(path_, "three"));
  EXPECT_EQ(bytes_kept_of(path_), (std::vector<std::string>{text_with("two"), text_with("one")}));
  EXPECT_EQ(tree(place()).back(), "/0000000002-19700101T000000Z-save-anna");
}

TEST_F(History, CanBeSetOffAndMovedAndTellsOfNoPath) {
  jt_history("", 5, "anna");
  EXPECT_TRUE(save(path_, "two"));
  jt_history(nullptr, 5, "anna");
  EXPECT_TRUE(save(path_, "three"));
  EXPECT_EQ(jt_versions(path_.c_str()), nullptr);
  Directory other;
  jt_history(other.path().c_str(), 5, "anna");
  EXPECT_TRUE(save(path_, "four"));
  EXPECT_EQ(tree(root_.path()), std::vector<std::string>{});
  EXPECT_EQ(bytes_kept_of(path_), std::vector<std::string>{text_with("three")});
  EXPECT_EQ(jt_versions(nullptr), nullptr);
  EXPECT_EQ(jt_versions((pool_.path() + "/absent/x.KTP").c_str()), nullptr);
  jt_free_versions(nullptr);
}

TEST_F(History, KnowsOneFileByAllItsPathsAndTwoFilesApart) {
  std::string link = pool_.file("link");
  ASSERT_EQ(::symlink(".", link.c_str()), 0);
  EXPECT_TRUE(save(link + "/../" + pool_.path().substr(pool_.path().rfind('/') + 1) + "/" +
                       path_.substr(path_.rfind('/') + 1),
                   "two"));
  EXPECT_EQ(bytes_kept_of(path_), std::vector<std::string>{text_with("one")});
  std::string below = pool_.path() + "/a";
  std::filesystem::create_directory(below);
  std::string same_name = pool_.write("a/Front desk.KTP", text_with("other"));
  EXPECT_TRUE(save(same_name, "changed"));
  EXPECT_EQ(bytes_kept_of(same_name), std::vector<std::string>{text_with("other")});
  EXPECT_EQ(kept_of(link + "/Front desk.KTP"), kept_of(path_));
}

TEST_F(History, KeepsAnyBytesOfNamesAndOfWho) {
  std::string every;
  for (int byte = 1; byte < 256; ++byte) every += static_cast<char>(byte);
  std::string name = every;
  name.erase(std::remove(name.begin(), name.end(), '/'), name.end());
  std::string path = pool_.write(name.substr(0, 250) + ".KTP", text_with("one"));
  for (std::size_t at = 0; at < every.size(); at += store::kMaxWho) {
    std::string who = every.substr(at, store::kMaxWho);
    jt_history(root_.path().c_str(), 20, (who + "cut off").substr(0, 70).c_str());
    EXPECT_TRUE(save(path, std::to_string(at).c_str()));
    Kept newest = kept_of(path).at(0);
    EXPECT_EQ(newest.who.substr(0, who.size()), who);
    EXPECT_LE(newest.who.size(), store::kMaxWho);
  }
}

TEST_F(History, EscapesOnlyWhatAFileNameCannotHold) {
  jt_history(root_.path().c_str(), 20, "J\xC3\xB6rg-a b/%\n\x7F\xFF");
  EXPECT_TRUE(save(path_, "two"));
  EXPECT_EQ(tree(place()),
            std::vector<std::string>{
                "/0000000001-20261121T133400Z-save-J\xC3\xB6rg-a b%2F%25%0A%7F\xFF"});
}

TEST(VersionName, IsReadOnlyAsItIsWritten) {
  store::VersionName name;
  EXPECT_TRUE(store::VersionName::read("0000000012-20000229T235959Z-delete-", &name));
  EXPECT_EQ(name.number, 12U);
  EXPECT_EQ(name.time, 951868799);
  EXPECT_EQ(name.who, "");
  for (const char* other :
       {"", "x", ".ktp-save", "0000000012", "12-20000229T235959Z-save-anna",
        "000000001x-20000229T235959Z-save-anna", "0000000012-20000230T235959Z-save-anna",
        "0000000012-20000229T245959Z-save-anna", "0000000012-20000229 235959Z-save-anna",
        "0000000012-20000229T235959Z-save", "0000000012-20000229T235959Z-move-anna",
        "0000000012-20000229T235959Z-save-a%2", "0000000012-20000229T235959Z-save-a%zz",
        "0000000012-20000229T235959Z-save-a%2f", "0000000012-20000229T235959Z-save-a\n"}) {
    EXPECT_FALSE(store::VersionName::read(other, &name)) << other;
  }
}

TEST_F(History, LeavesOtherFilesAlone) {
  jt_history(root_.path().c_str(), 1, "anna");
  EXPECT_TRUE(save(path_, "two"));
  std::ofstream(place() + "/notes.txt") << "mine";
  std::ofstream(place() + "/0000000099-copy of a version") << "mine";
  std::filesystem::create_directory(place() + "/0000000098-20261121T133400Z-save-anna");
  EXPECT_TRUE(save(path_, "three"));
  EXPECT_EQ(kept_of(path_), (std::vector<Kept>{{"2", "save", "anna", text_with("two")}}));
  EXPECT_EQ(tree(place()).size(), 4U);
}

TEST_F(History, IsNoPoolOfTemplates) {
  EXPECT_TRUE(save(path_, "two"));
  TemplatePoolObject pool;
  CKwtPool(&pool);
  for (const std::string& directory : {place(), root_.path() + pool_.path()}) {
    SetPath(&pool, directory.c_str());
    EXPECT_TRUE(Refresh(&pool));
    EXPECT_EQ(pool.count, 0);
  }
  DestructorCKwtPool(&pool);
}

TEST_F(History, KeepsWhatDoesNotParseButNothingThatIsTooLargeForATemplate) {
  std::string good = pool_.write("good.KTP", text_with("good"));
  std::string broken = pool_.write("broken.KTP", "no template");
  EXPECT_TRUE(copy(good, broken));
  EXPECT_EQ(bytes_kept_of(broken), std::vector<std::string>{"no template"});
  std::string huge = pool_.write("huge", std::string((4 << 20) + 1, '#'));
  EXPECT_TRUE(remove(huge));
  EXPECT_EQ(jt_versions(huge.c_str()), nullptr);
  EXPECT_EQ(take_failures(), "");
}

TEST_F(History, GivesVersionsTheModeAndOwnerOfTheFileAndDirectoriesThoseOfItsOwn) {
  bool root = ::geteuid() == 0;  // only root can make a file that is somebody else's
  ASSERT_EQ(::chmod(root_.path().c_str(), 0770), 0);
  ASSERT_EQ(::chmod(path_.c_str(), 0640), 0);
  ASSERT_EQ(root ? ::chown(path_.c_str(), 12345, 54321) : 0, 0);
  ASSERT_EQ(root ? ::chown(root_.path().c_str(), 0, 54322) : 0, 0);
  struct stat before = info_of(path_);
  EXPECT_TRUE(save(path_, "two"));
  struct stat version = info_of(place() + tree(place()).at(0));
  EXPECT_EQ(version.st_mode, before.st_mode);
  EXPECT_EQ(version.st_uid, before.st_uid);
  EXPECT_EQ(version.st_gid, before.st_gid);
  EXPECT_EQ(version.st_nlink, 1U);
  EXPECT_EQ(info_of(place()).st_mode & 07777, 0770U);
  EXPECT_EQ(info_of(place()).st_gid, info_of(root_.path()).st_gid);
}

TEST_F(History, HidesAVersionWhoseOwnerCannotBeKept) {
  struct NoOwner : FixedTime {
    int fchown(int, uid_t, gid_t) override {
      errno = EPERM;
      return -1;
    }
  } system;
  Using no_owner(&system);
  ASSERT_EQ(::chmod(path_.c_str(), 0666), 0);
  EXPECT_TRUE(save(path_, "two"));
  EXPECT_EQ(info_of(place() + tree(place()).at(0)).st_mode & 07777, 0600U);
  EXPECT_EQ(info_of(path_).st_mode & 07777, 0666U);
}

TEST_F(History, ThatIsMissingFailsTheOperationAndTellsWhy) {
  const std::string reason = "the directory of the history cannot be opened: ";
  jt_history((root_.path() + "/absent").c_str(), 5, "anna");
  Template tpl(path_);
  WriteAttributeStringWInvoc(tpl.get(), "s", nullptr, "a", "two");
  EXPECT_EQ(Close(tpl.get(), 1), 0);
  EXPECT_EQ(GetLastTemplateError(tpl.get()), KWTERR_FILE_WRITE);
  EXPECT_EQ(tpl.error(), path_ + ": " + reason + "No such file or directory");
  expect_failure("save", reason + "No such file or directory");
  std::string other = pool_.write("other.KTP", text_with("other"));
  EXPECT_EQ(CopyCKwtTemplate(other.c_str(), path_.c_str()), KWTERR_FILE_WRITE);
  expect_failure("copy", reason + "No such file or directory");
  EXPECT_FALSE(remove(path_));
  expect_failure("delete", reason + "No such file or directory");
  EXPECT_EQ(jt_versions(path_.c_str()), nullptr);
}

TEST_F(History, ThatIsNoDirectoryOrTooLongAPathFailsTheOperation) {
  const std::string reason = "its old content cannot be kept in the history: ";
  jt_history(pool_.write("file", "").c_str(), 5, "anna");
  EXPECT_FALSE(save(path_, "two"));
  expect_failure("save", reason + "Not a directory");
  jt_history(std::string(PATH_MAX + 500, 'x').c_str(), 5, "anna");
  EXPECT_FALSE(save(path_, "two"));
  expect_failure("save", reason + "File name too long");
}

TEST_F(History, OnAFullDiskFailsTheSaveBeforeTheTemplateIsTouched) {
  struct FullDisk : FixedTime {
    ssize_t write(int, const char*, std::size_t) override {
      errno = ENOSPC;
      return -1;
    }
  } system;
  Using full(&system);
  struct stat before = info_of(path_);
  EXPECT_FALSE(save(path_, "two"));
  expect_failure("save", "its old content cannot be kept in the history: No space left on device");
  EXPECT_EQ(info_of(path_).st_ino, before.st_ino);
  EXPECT_EQ(tree(place()), std::vector<std::string>{});
}

TEST_F(History, WaitsForItsLockAndThenFailsTheSave) {
  EXPECT_TRUE(save(path_, "one more"));
  int holder = ::open(place().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  ASSERT_EQ(::flock(holder, LOCK_EX), 0);
  StoppedClock clock;
  Using stopped(&clock);
  EXPECT_FALSE(save(path_, "two"));
  EXPECT_EQ(clock.now, 5000);
  EXPECT_EQ(take_failures(),
            path_ + ": save: somebody else is saving in its directory; try again\n");
  clock.at_pause = [&] { ::flock(holder, LOCK_UN); };
  EXPECT_TRUE(save(path_, "two"));
  ::close(holder);
}

TEST_F(History, HoldsEachStateOnceWhenTwoProcessesSave) {
  constexpr int kSaves = 25;
  jt_history(root_.path().c_str(), 1000, "anna");
  std::vector<pid_t> children;
  for (const char* attribute : {"b", "c"}) {
    pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      int failed = 0;
      for (int i = 0; i < kSaves; ++i) {
        Template tpl(path_);
        WriteAttributeEnumWInvoc(tpl.get(), "s", nullptr, "t", attribute, i);
        failed += Close(tpl.get(), 1) == 1 ? 0 : 1;
      }
      ::_exit(failed);
    }
    children.push_back(child);
  }
  for (pid_t child : children) {
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
  }
  std::vector<Kept> versions = kept_of(path_);
  ASSERT_EQ(versions.size(), 2U * kSaves);
  EXPECT_EQ(versions.front().id, std::to_string(2 * kSaves));
  EXPECT_EQ(versions.back().bytes, text_with("one"));
  std::vector<std::string> states = bytes_kept_of(path_);
  states.push_back(bytes_of(path_));
  std::sort(states.begin(), states.end());
  EXPECT_EQ(std::unique(states.begin(), states.end()), states.end());
}

// The inodes of the directories that were brought to the disk, up to the first renaming.
struct SyncedDirectories : FixedTime {
  int fsync(int file) override {
    struct stat info = {};
    ::fstat(file, &info);
    if (S_ISDIR(info.st_mode) && !renamed) inodes.insert(info.st_ino);
    return 0;
  }
  int renameat(int directory, const char* from, const char* to) override {
    renamed = true;
    return System::renameat(directory, from, to);
  }
  std::set<ino_t> inodes;
  bool renamed = false;
};

TEST_F(History, BringsItsDirectoriesToTheDiskBeforeTheFirstVersion) {
  std::set<ino_t> above;
  for (const char* start : {"made by it", "left empty by a killed process"}) {
    SCOPED_TRACE(start);
    SyncedDirectories system;
    Using recording(&system);
    EXPECT_TRUE(save(path_, start));
    for (std::string up = place(); up.size() > root_.path().size();) {
      up.resize(up.rfind('/'));
      above.insert(info_of(up).st_ino);
    }
    EXPECT_EQ(system.inodes, above);
    for (const std::string& name : tree(place())) ::unlink((place() + name).c_str());
  }
}

// An operation that takes the target from "one" to something else, with a history of two versions
// that is full already, or empty.
struct Job {
  const char* name;
  bool full;
  std::string after;  // empty = the file is gone
  std::function<bool(const std::string&)> run;
};

bool copy_over(const std::string& path) {
  return copy(path.substr(0, path.rfind('/')) + "/source", path);
}
bool save_two(const std::string& path) { return save(path, "two"); }

const Job kJobs[] = {{"FirstSave", false, text_with("two"), save_two},
                     {"FirstCopy", false, text_with("two"), copy_over},
                     {"FirstDelete", false, "", remove},
                     {"Save", true, text_with("two"), save_two},
                     {"Copy", true, text_with("two"), copy_over},
                     {"Delete", true, "", remove}};

class HistoryFaults : public testing::TestWithParam<Job> {
 protected:
  struct Stage {
    Directory root, pool;
    std::string path;
  };
  // The target holds "one", and the history, if it is full, "before" and "first".
  static void set(Stage* stage) {
    Unsynced system;
    Using quick(&system);
    stage->pool.write("source", text_with("two"));
    stage->path = stage->pool.write("target.KTP", text_with(GetParam().full ? "first" : "one"));
    jt_history(stage->root.path().c_str(), 2, "anna");
    if (!GetParam().full) return;
    EXPECT_TRUE(save(stage->path, "before") && save(stage->path, "one"));
  }
  static bool is_changed(const Stage& stage) {
    bool exists = std::filesystem::exists(stage.path);
    std::string bytes = bytes_of(stage.path);
    EXPECT_TRUE(bytes == GetParam().after || (exists && bytes == text_with("one")));
    return bytes == GetParam().after;
  }
  // Whatever failed: old bytes that are gone from the file are in the history, whose older versions
  // are there too, or were dropped for it.
  static void check(const Stage& stage) {
    std::vector<std::string> states = bytes_kept_of(stage.path);
    bool changed = is_changed(stage);
    if (changed) {
      ASSERT_FALSE(states.empty());
      EXPECT_EQ(states.front(), text_with("one"));
    }
    if (!states.empty() && states.front() == text_with("one")) states.erase(states.begin());
    if (!GetParam().full) {
      EXPECT_EQ(states, std::vector<std::string>{});
      return;
    }
    ASSERT_FALSE(states.empty());
    EXPECT_EQ(states.front(), text_with("before"));
    EXPECT_TRUE(changed || states.size() == 2);
  }
  // Then the same works, and leaves what it leaves at any time.
  static void repeat(const Stage& stage) {
    Unsynced system;
    Using quick(&system);
    take_failures();
    EXPECT_TRUE(is_changed(stage) || GetParam().run(stage.path));
    EXPECT_TRUE(is_changed(stage));
    if (GetParam().after.empty()) stage.pool.write("target.KTP", text_with("made again"));
    std::string present = bytes_of(stage.path);
    jt_history(stage.root.path().c_str(), 20, "anna");
    EXPECT_TRUE(save(stage.path, "three"));
    std::vector<std::string> states = bytes_kept_of(stage.path);
    ASSERT_GE(states.size(), 2U);
    EXPECT_EQ(states[0], present);
    EXPECT_EQ(states[1], text_with("one"));
    EXPECT_EQ(std::count(states.begin(), states.end(), text_with("one")), 1);
    for (const std::string& name : tree(stage.root.path() + stage.path)) {
      EXPECT_NE(name.at(1), '.') << name;
    }
  }
  static int sweep(Fault fault) {
    for (int call = 1;; ++call) {
      Stage stage;
      set(&stage);
      std::size_t descriptors = open_descriptors();
      FaultySystem system(fault, call);
      bool done = false;
      {
        Using faulty(&system);
        done = GetParam().run(stage.path);
      }
      SCOPED_TRACE(system.failed_call() + " at " + std::to_string(call));
      EXPECT_EQ(open_descriptors(), descriptors);
      EXPECT_TRUE(!done || is_changed(stage));
      check(stage);
      bool forgotten = kept_of(stage.path).size() == (GetParam().full ? 2U : 0U);
      EXPECT_TRUE(fault == Fault::kLasting || is_changed(stage) || forgotten);
      repeat(stage);
      if (!system.was_reached()) return call - 1;
    }
  }
  ~HistoryFaults() override { jt_history(nullptr, 0, nullptr); }
};

TEST_P(HistoryFaults, LoseNoVersionWhenACallFailsOnce) { EXPECT_GE(sweep(Fault::kOnce), 10); }

TEST_P(HistoryFaults, LoseNoVersionWhenAllFurtherCallsFail) {
  EXPECT_GE(sweep(Fault::kLasting), 10);
}

TEST_P(HistoryFaults, LoseNoVersionWhenTheProcessIsKilled) {
  for (int call = 1;; ++call) {
    Stage stage;
    set(&stage);
    pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      FaultySystem system(Fault::kKill, call);
      store::use_system(&system);
      GetParam().run(stage.path);
      ::_exit(0);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    SCOPED_TRACE(call);
    check(stage);
    repeat(stage);
    if (WEXITSTATUS(status) != kKilled) break;
  }
}

INSTANTIATE_TEST_SUITE_P(EveryCall, HistoryFaults, testing::ValuesIn(kJobs),
                         [](const auto& tested) { return std::string(tested.param.name); });

}  // namespace
}  // namespace store_test
