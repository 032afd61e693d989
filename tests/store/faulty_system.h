// System calls of the store that fail, kill the process or stop the clock, for the tests of faults.
// SPDX-License-Identifier: MIT
#ifndef TESTS_STORE_FAULTY_SYSTEM_H_
#define TESTS_STORE_FAULTY_SYSTEM_H_

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <functional>
#include <string>

#include "template_file.h"

namespace store_test {

inline constexpr int kKilled = 99;

// Uses a system for as long as it lives.
class Using {
 public:
  explicit Using(store::System* system) { store::use_system(system); }
  Using(const Using&) = delete;
  Using& operator=(const Using&) = delete;
  ~Using() { store::use_system(nullptr); }
};

enum class Fault { kOnce, kLasting, kKill };

// The one call that may fail unnoticed: the close of what was only read.
inline constexpr char kHarmless[] = "close of what was read";

// Lets the n-th call fail, that and all later ones, or ends the process just before it.
class FaultySystem : public store::System {
 public:
  FaultySystem(Fault fault, int call) : fault_(fault), call_(call) {}
  [[nodiscard]] bool was_reached() const { return count_ >= call_; }
  [[nodiscard]] const std::string& failed_call() const { return failed_call_; }

  int openat(int directory, const char* name, int flags, mode_t mode) override {
    return fails("openat") ? -1 : System::openat(directory, name, flags, mode);
  }
  int fstat(int file, struct stat* info) override {
    return fails("fstat") ? -1 : System::fstat(file, info);
  }
  int fstatat(int directory, const char* name, struct stat* info) override {
    return fails("fstatat") ? -1 : System::fstatat(directory, name, info);
  }
  ssize_t read(int file, char* buffer, std::size_t size) override {
    return fails("read") ? -1 : System::read(file, buffer, size);
  }
  ssize_t write(int file, const char* bytes, std::size_t size) override {
    return fails("write") ? -1 : System::write(file, bytes, size);
  }
  int fchmod(int file, mode_t mode) override {
    return fails("fchmod") ? -1 : System::fchmod(file, mode);
  }
  int fchown(int file, uid_t owner, gid_t group) override {
    return fails("fchown") ? -1 : System::fchown(file, owner, group);
  }
  int fsync(int file) override {
    struct stat info = {};
    ::fstat(file, &info);
    return fails(S_ISDIR(info.st_mode) ? "fsync directory" : "fsync") ? -1 : System::fsync(file);
  }
  int close(int file) override {
    bool written = (::fcntl(file, F_GETFL) & O_ACCMODE) != O_RDONLY;
    bool failed = fails(written ? "close" : kHarmless);
    int result = System::close(file);
    if (failed) errno = EIO;
    return failed ? -1 : result;
  }
  int renameat(int directory, const char* from, const char* to) override {
    return fails("renameat") ? -1 : System::renameat(directory, from, to);
  }
  int unlinkat(int directory, const char* name) override {
    return fails("unlinkat") ? -1 : System::unlinkat(directory, name);
  }
  int flock(int file, int operation) override {
    return fails("flock") ? -1 : System::flock(file, operation);
  }
  int mkdirat(int directory, const char* name, mode_t mode) override {
    return fails("mkdirat") ? -1 : System::mkdirat(directory, name, mode);
  }
  char* realpath(const char* path, char* resolved) override {
    return fails("realpath") ? nullptr : System::realpath(path, resolved);
  }
  DIR* opendir(const char* path) override {
    return fails("opendir") ? nullptr : System::opendir(path);
  }
  dirent* readdir(DIR* directory) override {
    return fails("readdir") ? nullptr : System::readdir(directory);
  }

 private:
  bool fails(const char* name) {
    ++count_;
    bool now = count_ == call_ || (fault_ == Fault::kLasting && count_ > call_);
    if (!now) return false;
    if (fault_ == Fault::kKill) ::_exit(kKilled);
    if (failed_call_.empty()) failed_call_ = name;
    errno = EIO;
    return true;
  }

  Fault fault_;
  int call_;
  int count_ = 0;
  std::string failed_call_;
};

inline std::size_t open_descriptors() {
  std::size_t count = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    ++count;
  }
  return count;
}

// A clock that only moves when somebody waits.
struct StoppedClock : store::System {
  long milliseconds() override { return now; }
  void pause(long length) override {
    now += length;
    if (at_pause) at_pause();
  }
  long now = 0;
  std::function<void()> at_pause;
};

}  // namespace store_test

#endif  // TESTS_STORE_FAULTY_SYSTEM_H_
