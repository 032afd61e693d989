// One SQLite database: opened once in each process, durable, safe to share between processes.
// SPDX-License-Identifier: MIT
#include "device/database.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>
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
  std::unique_ptr<sqlite3, decltype(&sqlite3_close_v2)> guard(opened, sqlite3_close_v2);
  if (result != SQLITE_OK) fail(file_, result, sqlite3_errstr(result));
  sqlite3_busy_timeout(opened, kBusyMilliseconds);
  claim(opened);
  connection_ = guard.release();
  owner_ = getpid();
}

// True for an empty database, which nobody has claimed; that of another program is refused.
bool Database::is_new(sqlite3* connection) const {
  Statement found(
      file_, connection,
      "SELECT application_id, (SELECT count(*) FROM sqlite_schema) FROM pragma_application_id");
  found.step();
  const int64_t id = found.integer(0);
  if (id != kApplicationId && (id != 0 || found.integer(1) != 0)) {
    fail(file_, SQLITE_NOTADB, "is a database of another program");
  }
  return id == 0;
}

void Database::claim(sqlite3* connection) const {
  const bool unclaimed = is_new(connection);
  use_write_ahead_log(connection);
  execute(connection, "PRAGMA synchronous = FULL");
  if (unclaimed) execute(connection, "PRAGMA application_id = 0x506C746E");
}

// The change to this mode needs the file for itself and does not wait for it: processes that open
// a new database together take turns here.
void Database::use_write_ahead_log(sqlite3* connection) const {
  int result = SQLITE_BUSY;
  for (int waited = 0; result == SQLITE_BUSY && waited < kBusyMilliseconds;
       waited += kRetryMilliseconds) {
    result = sqlite3_exec(connection, "PRAGMA journal_mode = WAL", nullptr, nullptr, nullptr);
    if (result == SQLITE_BUSY) sqlite3_sleep(kRetryMilliseconds);
  }
  if (result != SQLITE_OK) fail(file_, result, sqlite3_errmsg(connection));
}

void Database::execute(sqlite3* connection, const char* sql) const {
  const int result = sqlite3_exec(connection, sql, nullptr, nullptr, nullptr);
  if (result != SQLITE_OK) fail(file_, result, sqlite3_errmsg(connection));
}

void Database::make(const char* schema) {
  Transaction transaction(*this);
  execute(connection_, schema);
  transaction.commit();
}

Transaction::Transaction(Database& database) : database_(database) {
  database_.run("BEGIN IMMEDIATE");
}

Transaction::~Transaction() {
  if (!open_) return;
  try {
    database_.run("ROLLBACK");
  } catch (const DatabaseError&) {
    // The failure that is under way has already rolled back.
  }
}

void Transaction::commit() {
  database_.run("COMMIT");
  open_ = false;
}

}  // namespace platen
