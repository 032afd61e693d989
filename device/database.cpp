// One SQLite database: opened once in each process, durable, safe to share between processes.
// SPDX-License-Identifier: MIT
#include "device/database.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

namespace platen {
namespace {

constexpr int kBusyMilliseconds = 5000;
constexpr int kRetryMilliseconds = 10;
constexpr int64_t kApplicationId = 0x506C746E;  // "Pltn": marks the database as ours

struct Advice {
  int code;
  const char* text;
};

constexpr Advice kAdvice[] = {
    {SQLITE_BUSY, "another process holds it; try again"},
    {SQLITE_CANTOPEN, "its directory must exist and be writable"},
    {SQLITE_CORRUPT, "put a saved copy in its place"},
    {SQLITE_FULL, "free space on its file system"},
    {SQLITE_IOERR, "look at its file system and disk"},
    {SQLITE_NOTADB, "name another file or move this one away"},
    {SQLITE_PERM, "give it to the user that runs platend"},
    {SQLITE_READONLY, "it and its directory must be writable"},
};

[[noreturn]] void fail(const std::string& file, int code, const char* reason) {
  std::string text = file + ": " + reason;
  for (const Advice& advice : kAdvice) {
    if (advice.code == (code & 0xFF)) text += std::string("; ") + advice.text;
  }
  throw DatabaseError(text);
}

// SQLite would make the file readable by all. A file that is there is not touched: to close a
// descriptor of it would drop the locks of a connection that this process has.
void make_file(const std::string& file) {
  const int descriptor = ::open(file.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (descriptor >= 0) {
    close(descriptor);
  } else if (errno != EEXIST) {
    const int code = errno == ENOSPC ? SQLITE_FULL : SQLITE_CANTOPEN;
    fail(file, code, std::strerror(errno));
  }
}

}  // namespace

Statement::Statement(const std::string& file, sqlite3* connection, std::string_view sql)
    : file_(file), connection_(connection) {
  sqlite3_stmt* prepared = nullptr;
  check(
      sqlite3_prepare_v2(connection, sql.data(), static_cast<int>(sql.size()), &prepared, nullptr));
  statement_.reset(prepared);
}

bool Statement::step() {
  const int result = sqlite3_step(statement_.get());
  if (result != SQLITE_ROW && result != SQLITE_DONE) check(result);
  return result == SQLITE_ROW;
}

int64_t Statement::integer(int column) const {
  return sqlite3_column_int64(statement_.get(), column);
}

std::string Statement::text(int column) const {
  const void* bytes = sqlite3_column_blob(statement_.get(), column);
  const int size = sqlite3_column_bytes(statement_.get(), column);
  return size == 0 ? "" : std::string(static_cast<const char*>(bytes), static_cast<size_t>(size));
}

void Statement::bind(int number, int64_t value) {
  check(sqlite3_bind_int64(statement_.get(), number, value));
}

void Statement::bind(int number, std::string_view value) {
  check(sqlite3_bind_text64(statement_.get(), number, value.empty() ? "" : value.data(),
                            value.size(), SQLITE_TRANSIENT, SQLITE_UTF8));
}

void Statement::check(int result) const {
  if (result != SQLITE_OK) fail(file_, result, sqlite3_errmsg(connection_));
}

Database::Database(std::string file) : file_(std::move(file)) {}

Database::~Database() {
  if (owner_ == getpid()) sqlite3_close_v2(connection_);
}

void Database::open() {
  if (connection_ != nullptr && owner_ == getpid()) return;
  // A connection made before a fork belongs to the parent: closing it would disturb its locks.
  connection_ = nullptr;
  make_file(file_);
  sqlite3* opened = nullptr;
  const int result = sqlite3_open_v2(file_.c_str(), &opened, SQLITE_OPEN_READWRITE, nullptr);
  const std::unique_ptr<sqlite3, decltype(&sqlite3_close_v2)> guard(opened, sqlite3_close_v2);
  if (result != SQLITE_OK) fail(file_, result, sqlite3_errstr(result));
  sqlite3_busy_timeout(opened, kBusyMilliseconds);
  claim(opened);
  use_write_ahead_log(opened);
  connection_ = guard.release();
  owner_ = getpid();
}

}  // namespace platen
