// Template files on disk: reading, the lock of a directory, atomic replacement, listing.
// SPDX-License-Identifier: MIT
#ifndef STORE_TEMPLATE_FILE_H_
#define STORE_TEMPLATE_FILE_H_

#include <dirent.h>
#include <sys/stat.h>
#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "template_status.h"

#pragma GCC visibility push(hidden)

namespace store {

inline constexpr std::size_t kMaxFileSize = std::size_t{4} << 20;
inline constexpr long kLockWaitMilliseconds = 5000;

// The system calls of the store, with the results and errno of the calls they are named after.
// Tests replace single ones to let them fail or to end the process there.
class System {
 public:
  virtual ~System() = default;
  virtual int openat(int directory, const char* name, int flags, mode_t mode);
  virtual int fstat(int file, struct stat* info);
  virtual int fstatat(int directory, const char* name, struct stat* info);
  virtual ssize_t read(int file, char* buffer, std::size_t size);
  virtual ssize_t write(int file, const char* bytes, std::size_t size);
  virtual int fchmod(int file, mode_t mode);
  virtual int fchown(int file, uid_t owner, gid_t group);
  virtual int fsync(int file);
  virtual int close(int file);
  virtual int renameat(int directory, const char* from, const char* to);
  virtual int unlinkat(int directory, const char* name);
  virtual int mkdirat(int directory, const char* name, mode_t mode);
  virtual char* realpath(const char* path, char* resolved);
  virtual int flock(int file, int operation);
  virtual DIR* opendir(const char* path);
  virtual dirent* readdir(DIR* directory);
  virtual long milliseconds();  // of a clock that never goes back
  virtual long long seconds();  // since 1970
  virtual void pause(long milliseconds);
};

// Uses `replacement`, which stays the caller's, for every call from now on; null = the real ones.
// Returns the one used before, null when that was the real one. For one thread at a time.
System* use_system(System* replacement);

// A descriptor that is closed with its owner.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int number) : number_(number) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor();

  void reset(int number);
  void swap(Descriptor& other) { std::swap(number_, other.number_); }
  [[nodiscard]] int get() const { return number_; }
  [[nodiscard]] bool is_open() const { return number_ >= 0; }
  int close();  // the result of the close call

 private:
  int number_ = -1;
};

// A template file opened for reading: regular, no link, at most kMaxFileSize bytes.
class InputFile {
 public:
  // Opens `name` in `directory` (AT_FDCWD: a path from where the process is).
  Status open(int directory, const char* name);
  [[nodiscard]] std::size_t size() const { return static_cast<std::size_t>(info_.st_size); }
  [[nodiscard]] const struct stat& info() const { return info_; }
  // Reads the whole file into `buffer`, which has room for size() + 1 bytes.
  Status read(char* buffer);

 private:
  Descriptor file_;
  struct stat info_ = {};
};

// What becomes of the owner of a file that is replaced.
enum class Owner : std::uint8_t {
  kNew,         // whoever replaces it
  kKeep,        // the one it had, if that is permitted
  kKeepOrHide,  // the same; where it is not permitted, only the new owner may use the file
};

// The directory of a template, locked against every other save, copy and delete in it as long as
// this object lives. There is one lock holder at a time, so one name serves for its temporary file.
class LockedDirectory {
 public:
  // Waits at most kLockWaitMilliseconds for the lock of the directory that `path` lies in.
  Status lock(std::string_view path);
  // The same for a directory; choose() then says which of its files is meant.
  Status lock_directory(const std::string& directory);
  void choose(std::string_view name) { name_ = name; }
  [[nodiscard]] int descriptor() const { return directory_.get(); }
  [[nodiscard]] const char* name() const { return name_.c_str(); }

  // Tells about the file: a regular one, or none at all (`exists` is false); others are refused.
  Status inspect(struct stat* info, bool* exists) const;
  // Puts `bytes` in the file's place, atomically and durably, with the mode of `model`. On failure
  // the old file stays, unless only the last step failed (kSyncDirectory), which leaves the new
  // one.
  Status replace(std::string_view bytes, const struct stat& model, Owner owner);
  // Removes the file.
  Status remove();
  // Removes a file that is not needed any more; if it cannot be removed, it stays.
  void drop(const std::string& name) const;

 private:
  Status create_temporary(Descriptor* file);
  Status fill(Descriptor* file, std::string_view bytes, const struct stat& model, Owner owner);

  Descriptor directory_;
  std::string name_;
};

// Tells the path of a file without links, "." and ".." in it; the file need not be there, but its
// directory does.
Status real_path(std::string_view path, std::string* real);

// Makes the directories of `path`, which begins with a slash, below the directory `root`, which has
// to be there, with its mode and owner, and brings them to the disk. Those that are there stay.
Status make_directories(const std::string& root, std::string_view path);

// The time in seconds since 1970.
long long current_time();

// Fills `names` with the regular files of the directory, in any order.
Status list_directory(const char* path, std::vector<std::string>* names);

}  // namespace store

#pragma GCC visibility pop

#endif  // STORE_TEMPLATE_FILE_H_
