// All system calls of the store, each with its result checked.
// SPDX-License-Identifier: MIT
#include "template_file.h"

#include <fcntl.h>
#include <limits.h>
#include <stdlib.h>
#include <sys/file.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <memory>
#include <utility>

namespace store {
namespace {

constexpr char kTemporaryName[] = ".ktp-save";
constexpr mode_t kTemporaryMode = 0600;
constexpr mode_t kModeBits = 07777;
constexpr long kLockPollMilliseconds = 10;

std::atomic<System*> replaced_system{nullptr};

System& real_system() {
  static System calls;
  return calls;
}

System& calls() {
  System* replaced = replaced_system.load(std::memory_order_relaxed);
  return replaced ? *replaced : real_system();
}

Status failed(Code code) { return {code, errno, nullptr, 0, 0}; }

template <typename Call>
auto retry_interrupted(Call call) {
  auto result = call();
  while (result == -1 && errno == EINTR) result = call();
  return result;
}

Status write_all(int file, std::string_view bytes) {
  while (!bytes.empty()) {
    ssize_t count =
        retry_interrupted([&] { return calls().write(file, bytes.data(), bytes.size()); });
    if (count <= 0) return failed(Code::kWrite);
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return {};
}

// Returns the directory of a path, with a slash at its end if it has one, and the file's name.
std::pair<std::string, std::string_view> split(std::string_view path) {
  std::size_t slash = path.rfind('/');
  bool bare = slash == std::string_view::npos;
  return {bare ? "." : std::string(path.substr(0, slash + 1)), path.substr(slash + 1)};
}

int open_directory(int parent, const char* name) {
  constexpr int kFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
  return retry_interrupted([&] { return calls().openat(parent, name, kFlags, 0); });
}

// Gives a file the owner of `model`; to lack the permission for that is no failure, but told in
// `kept`.
bool give_to_owner(int file, const struct stat& model, bool* kept) {
  *kept = calls().fchown(file, model.st_uid, model.st_gid) == 0;
  return *kept || errno == EPERM;
}

// Goes from a directory into one of its directories, which is made if it is not there.
Status step_into(Descriptor* directory, const std::string& name, const struct stat& model) {
  bool made = calls().mkdirat(directory->get(), name.c_str(), S_IRWXU) == 0;
  if (!made && errno != EEXIST) return failed(Code::kCreate);
  int child = open_directory(directory->get(), name.c_str());
  if (child < 0) return failed(Code::kOpen);
  Descriptor next(child);
  bool kept = false;
  bool fails = made && (!give_to_owner(child, model, &kept) ||
                        calls().fchmod(child, model.st_mode & kModeBits) != 0);
  if (fails || calls().fsync(directory->get()) != 0) return failed(Code::kCreate);
  directory->swap(next);
  return {};
}

Code open_failure_code() { return errno == EACCES || errno == EPERM ? Code::kAccess : Code::kOpen; }

}  // namespace

int System::openat(int directory, const char* name, int flags, mode_t mode) {
  return ::openat(directory, name, flags, mode);
}
int System::fstat(int file, struct stat* info) { return ::fstat(file, info); }
int System::fstatat(int directory, const char* name, struct stat* info) {
  return ::fstatat(directory, name, info, AT_SYMLINK_NOFOLLOW);
}
ssize_t System::read(int file, char* buffer, std::size_t size) {
  return ::read(file, buffer, size);
}
ssize_t System::write(int file, const char* bytes, std::size_t size) {
  return ::write(file, bytes, size);
}
int System::fchmod(int file, mode_t mode) { return ::fchmod(file, mode); }
int System::fchown(int file, uid_t owner, gid_t group) { return ::fchown(file, owner, group); }
int System::fsync(int file) { return ::fsync(file); }
int System::close(int file) { return ::close(file); }
int System::renameat(int directory, const char* from, const char* to) {
  return ::renameat(directory, from, directory, to);
}
int System::unlinkat(int directory, const char* name) { return ::unlinkat(directory, name, 0); }
int System::mkdirat(int directory, const char* name, mode_t mode) {
  return ::mkdirat(directory, name, mode);
}
char* System::realpath(const char* path, char* resolved) { return ::realpath(path, resolved); }
int System::flock(int file, int operation) { return ::flock(file, operation); }
DIR* System::opendir(const char* path) { return ::opendir(path); }
dirent* System::readdir(DIR* directory) { return ::readdir(directory); }
long System::milliseconds() {
  timespec now = {};
  ::clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<long>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}
long long System::seconds() {
  timespec now = {};
  ::clock_gettime(CLOCK_REALTIME, &now);
  return now.tv_sec;
}
void System::pause(long milliseconds) {
  timespec length = {milliseconds / 1000, milliseconds % 1000 * 1000000};
  ::nanosleep(&length, nullptr);
}

System* use_system(System* replacement) { return replaced_system.exchange(replacement); }

Descriptor::~Descriptor() { close(); }

void Descriptor::reset(int number) {
  close();
  number_ = number;
}

int Descriptor::close() {
  if (number_ < 0) return 0;
  int number = number_;
  number_ = -1;
  return calls().close(number);
}

Status InputFile::open(int directory, const char* name) {
  constexpr int kFlags = O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC;
  file_.reset(retry_interrupted([&] { return calls().openat(directory, name, kFlags, 0); }));
  if (!file_.is_open()) return failed(open_failure_code());
  if (calls().fstat(file_.get(), &info_) != 0) return failed(Code::kStat);
  if (!S_ISREG(info_.st_mode)) return {Code::kNotRegular, 0, nullptr, 0, 0};
  if (info_.st_size > static_cast<off_t>(kMaxFileSize)) return {Code::kTooLarge, 0, nullptr, 0, 0};
  return {};
}

Status InputFile::read(char* buffer) {
  std::size_t total = 0;
  do {
    ssize_t count = retry_interrupted(
        [&] { return calls().read(file_.get(), buffer + total, size() + 1 - total); });
    if (count < 0) return failed(Code::kRead);
    total += static_cast<std::size_t>(count);
    if (count == 0) break;
  } while (total < size());
  if (total != size()) return {Code::kRead, 0, "it changed while it was read", 0, 0};
  return {};
}

Status LockedDirectory::lock(std::string_view path) {
  auto [directory, name] = split(path);
  name_ = name;
  if (name_.empty()) return {Code::kNotRegular, 0, nullptr, 0, 0};
  return lock_directory(directory);
}

Status LockedDirectory::lock_directory(const std::string& directory) {
  directory_.reset(open_directory(AT_FDCWD, directory.c_str()));
  if (!directory_.is_open()) return failed(Code::kLock);
  long deadline = calls().milliseconds() + kLockWaitMilliseconds;
  while (calls().flock(directory_.get(), LOCK_EX | LOCK_NB) != 0) {
    if (errno != EWOULDBLOCK && errno != EINTR) return failed(Code::kLock);
    if (calls().milliseconds() >= deadline) {
      return {Code::kLock, 0, "somebody else is saving in its directory; try again", 0, 0};
    }
    calls().pause(kLockPollMilliseconds);
  }
  return {};
}

Status LockedDirectory::inspect(struct stat* info, bool* exists) const {
  *exists = calls().fstatat(directory_.get(), name(), info) == 0;
  if (!*exists) return errno == ENOENT ? Status() : failed(Code::kStat);
  if (!S_ISREG(info->st_mode)) return {Code::kNotRegular, 0, nullptr, 0, 0};
  return {};
}

// A file of that name can only be left over from a holder of the lock that was killed.
Status LockedDirectory::create_temporary(Descriptor* file) {
  constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
  auto create = [&] {
    return calls().openat(directory_.get(), kTemporaryName, kFlags, kTemporaryMode);
  };
  int number = retry_interrupted(create);
  if (number < 0 && errno == EEXIST && calls().unlinkat(directory_.get(), kTemporaryName) == 0) {
    number = retry_interrupted(create);
  }
  file->reset(number);
  return number < 0 ? failed(Code::kCreate) : Status();
}

Status LockedDirectory::fill(Descriptor* file, std::string_view bytes, const struct stat& model,
                             Owner owner) {
  Status status = write_all(file->get(), bytes);
  if (!status.ok()) return status;
  bool kept = false;
  if (owner != Owner::kNew && !give_to_owner(file->get(), model, &kept)) {
    return failed(Code::kWrite);
  }
  mode_t mode = model.st_mode & (owner == Owner::kKeepOrHide && !kept ? S_IRWXU : kModeBits);
  if (calls().fchmod(file->get(), mode) != 0 || calls().fsync(file->get()) != 0 ||
      file->close() != 0 || calls().renameat(directory_.get(), kTemporaryName, name()) != 0) {
    return failed(Code::kWrite);
  }
  return {};
}

Status LockedDirectory::replace(std::string_view bytes, const struct stat& model, Owner owner) {
  Descriptor file;
  Status status = create_temporary(&file);
  if (!status.ok()) return status;
  status = fill(&file, bytes, model, owner);
  if (!status.ok()) {
    static_cast<void>(calls().unlinkat(directory_.get(), kTemporaryName));
    return status;
  }
  return calls().fsync(directory_.get()) == 0 ? Status() : failed(Code::kSyncDirectory);
}

Status LockedDirectory::remove() {
  if (calls().unlinkat(directory_.get(), name()) != 0) return failed(Code::kDelete);
  return calls().fsync(directory_.get()) == 0 ? Status() : failed(Code::kSyncDirectory);
}

void LockedDirectory::drop(const std::string& name) const {
  static_cast<void>(calls().unlinkat(directory_.get(), name.c_str()));
}

Status real_path(std::string_view path, std::string* real) {
  auto [directory, name] = split(path);
  char resolved[PATH_MAX];
  if (!calls().realpath(directory.c_str(), resolved)) return failed(Code::kOpen);
  *real = resolved;
  if (real->size() > 1) *real += '/';
  *real += name;
  return {};
}

Status make_directories(const std::string& root, std::string_view path) {
  Descriptor directory(open_directory(AT_FDCWD, root.c_str()));
  struct stat model = {};
  if (!directory.is_open() || calls().fstat(directory.get(), &model) != 0) {
    return {Code::kOpen, errno, "the directory of the history cannot be opened", 0, 0};
  }
  Status status;
  while (!path.empty() && status.ok()) {
    path.remove_prefix(1);
    std::string name(path.substr(0, path.find('/')));
    path.remove_prefix(name.size());
    status = step_into(&directory, name, model);
  }
  return status;
}

long long current_time() { return calls().seconds(); }

Status list_directory(const char* path, std::vector<std::string>* names) {
  std::unique_ptr<DIR, int (*)(DIR*)> directory(calls().opendir(path), ::closedir);
  if (!directory) return failed(Code::kOpen);
  int descriptor = ::dirfd(directory.get());
  for (;;) {
    errno = 0;
    const dirent* entry = calls().readdir(directory.get());
    if (!entry) return errno == 0 ? Status() : failed(Code::kRead);
    bool regular = entry->d_type == DT_REG;
    struct stat info = {};
    if (entry->d_type == DT_UNKNOWN) {
      regular = calls().fstatat(descriptor, entry->d_name, &info) == 0 && S_ISREG(info.st_mode);
    }
    if (regular) names->emplace_back(entry->d_name);
  }
}

}  // namespace store
