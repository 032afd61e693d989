// The configuration store: the settings behind platform/configapi.h, in one SQLite database.
// SPDX-License-Identifier: MIT
#include "device/configuration.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <string_view>

#include "platform/configapi.h"
#include "platform/log.h"

namespace platen {
namespace {

constexpr char kSource[] = "configuration.cpp";
constexpr int kBusyMilliseconds = 5000;
constexpr size_t kLongestKey = 255;
constexpr size_t kLongestValue = sizeof(ConfigAVP_t) - 1;
constexpr long kApplicationId = 0x506C746E;  // "Pltn": marks the database as ours

// The triggers write the history in the transaction of the change itself, whoever makes it. A
// change replaces its row, so an insertion is all there is to watch.
constexpr char kSchema[] = R"sql(
CREATE TABLE IF NOT EXISTS setting (
  key TEXT PRIMARY KEY, value TEXT NOT NULL, author TEXT NOT NULL, writes INTEGER NOT NULL
) WITHOUT ROWID;
CREATE TABLE IF NOT EXISTS change (
  number INTEGER PRIMARY KEY AUTOINCREMENT, time TEXT NOT NULL, key TEXT NOT NULL,
  value TEXT NOT NULL, author TEXT NOT NULL
);
CREATE TRIGGER IF NOT EXISTS setting_added AFTER INSERT ON setting BEGIN
  INSERT INTO change (time, key, value, author)
    VALUES (strftime('%Y-%m-%dT%H:%M:%SZ', 'now'), NEW.key,
            iif(NEW.key LIKE '%.password' OR NEW.key LIKE '%.sid', '', NEW.value), NEW.author);
END;
CREATE TRIGGER IF NOT EXISTS change_added AFTER INSERT ON change BEGIN
  DELETE FROM change WHERE number <= NEW.number - 10000;
END;
PRAGMA application_id = 0x506C746E;
)sql";

constexpr char kRead[] = "SELECT value FROM setting WHERE key = ?1";
constexpr char kWrite[] =
    "INSERT OR REPLACE INTO setting (key, value, author, writes) VALUES (?1, ?2, ?3,"
    " 1 + coalesce((SELECT writes FROM setting WHERE key = ?1), 0))";
constexpr char kWrites[] = "SELECT writes FROM setting WHERE key = ?1";
constexpr char kHistory[] =
    "SELECT time, key, value, author FROM change ORDER BY number DESC LIMIT ?1";

struct CloseDatabase {
  void operator()(sqlite3* database) const { sqlite3_close_v2(database); }
};
struct FinalizeStatement {
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Database = std::unique_ptr<sqlite3, CloseDatabase>;
using Statement = std::unique_ptr<sqlite3_stmt, FinalizeStatement>;

struct Store {
  std::string file;
  std::string author;
  Database database;
  pid_t owner = 0;  // the process that opened `database`
};

Store& store() {
  static Store configured;
  return configured;
}

// The statement with its values bound in order; null on failure, which the database remembers.
Statement prepare(sqlite3* database, const char* sql,
                  std::initializer_list<std::string_view> values = {}) {
  sqlite3_stmt* statement = nullptr;
  if (sqlite3_prepare_v2(database, sql, -1, &statement, nullptr) != SQLITE_OK) return nullptr;
  int number = 0;
  for (std::string_view value : values) {
    sqlite3_bind_text64(statement, ++number, value.data(), value.size(), SQLITE_TRANSIENT,
                        SQLITE_UTF8);
  }
  return Statement(statement);
}

int step(const Statement& statement) {
  return statement ? sqlite3_step(statement.get()) : SQLITE_ERROR;
}

std::string column_text(const Statement& statement, int column) {
  const auto* bytes = static_cast<const char*>(sqlite3_column_blob(statement.get(), column));
  return {bytes, static_cast<size_t>(sqlite3_column_bytes(statement.get(), column))};
}

bool execute(sqlite3* database, const char* sql) {
  return sqlite3_exec(database, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

Database open_database(const std::string& file, std::string* error) {
  sqlite3* opened = nullptr;
  int result = sqlite3_open_v2(file.c_str(), &opened, SQLITE_OPEN_READWRITE, nullptr);
  Database database(opened);
  if (result == SQLITE_OK && sqlite3_busy_timeout(opened, kBusyMilliseconds) == SQLITE_OK &&
      execute(opened, "PRAGMA synchronous = FULL")) {
    return database;
  }
  *error = file + ": " + (opened == nullptr ? "out of memory" : sqlite3_errmsg(opened));
  return nullptr;
}

// An empty database or one of ours; any other must not be written into.
bool is_own_database(sqlite3* database) {
  Statement found = prepare(
      database,
      "SELECT application_id, (SELECT count(*) FROM sqlite_schema) FROM pragma_application_id");
  if (step(found) != SQLITE_ROW) return false;
  sqlite3_int64 id = sqlite3_column_int64(found.get(), 0);
  return id == kApplicationId || (id == 0 && sqlite3_column_int64(found.get(), 1) == 0);
}

bool use_write_ahead_log(sqlite3* database) {
  Statement mode = prepare(database, "PRAGMA journal_mode = WAL");
  return step(mode) == SQLITE_ROW && column_text(mode, 0) == "wal";
}

bool make_schema(sqlite3* database) {
  return execute(database, "BEGIN IMMEDIATE") && execute(database, kSchema) &&
         execute(database, "COMMIT");
}

// The reason why the database cannot serve as the configuration; empty when it can.
std::string prepare_database(sqlite3* database) {
  if (!is_own_database(database)) return "is a database of another program";
  if (!use_write_ahead_log(database)) {
    return std::string("cannot keep a write-ahead log: ") + sqlite3_errmsg(database) +
           "; the file must be writable and on a local file system";
  }
  return make_schema(database) ? "" : sqlite3_errmsg(database);
}

// Only the owner may read the file, for it holds passwords.
bool make_file(const std::string& file, std::string* error) {
  int descriptor = open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  if (descriptor < 0) {
    *error = file + ": the configuration cannot be opened: " + std::strerror(errno);
    return false;
  }
  close(descriptor);
  return true;
}

void log_unavailable(const std::string& reason) {
  Log_Entry(LOG_LEVEL_ERROR, kSource, __LINE__, "The configuration is unavailable: %s",
            reason.c_str());
}

// This process's connection; null, and the reason logged, when there is none.
sqlite3* connection() {
  Store& configured = store();
  if (configured.database && configured.owner == getpid()) return configured.database.get();
  // What the parent opened is the parent's: to close it here would disturb its locks.
  (void)configured.database.release();
  std::string error = "it was not opened";
  if (!configured.file.empty()) configured.database = open_database(configured.file, &error);
  configured.owner = getpid();
  if (!configured.database) log_unavailable(error);
  return configured.database.get();
}

// CFG_OK when `result` is the wanted one; else logs why the database gave another.
int status_of(sqlite3* database, int result, int wanted) {
  if (result == wanted) return CFG_OK;
  log_unavailable(store().file + ": " + sqlite3_errmsg(database));
  return CFG_UNAVAILABLE;
}

bool is_key(const char* key) {
  return key != nullptr && *key != '\0' && std::strlen(key) <= kLongestKey;
}

int read_setting(const char* key, std::string* value) {
  sqlite3* database = connection();
  if (database == nullptr) return CFG_UNAVAILABLE;
  Statement found = prepare(database, kRead, {key});
  int result = step(found);
  if (result == SQLITE_DONE) return CFG_NO_VALUE;
  if (result == SQLITE_ROW) *value = column_text(found, 0);
  return status_of(database, result, SQLITE_ROW);
}

int write_setting(const char* key, const char* value) {
  sqlite3* database = connection();
  if (database == nullptr) return CFG_UNAVAILABLE;
  return status_of(database, step(prepare(database, kWrite, {key, value, store().author})),
                   SQLITE_DONE);
}

}  // namespace

bool open_configuration(const std::string& file, std::string* error) {
  if (!make_file(file, error)) return false;
  Database database = open_database(file, error);
  if (!database) return false;
  std::string fault = prepare_database(database.get());
  if (!fault.empty()) {
    *error = file + ": " + fault;
    return false;
  }
  store().database.reset();
  store().file = file;
  return true;
}

void set_configuration_author(const std::string& login_name) { store().author = login_name; }

std::vector<ConfigurationChange> configuration_history(int limit) {
  std::vector<ConfigurationChange> changes;
  sqlite3* database = connection();
  if (database == nullptr) return changes;
  Statement rows = prepare(database, kHistory);
  if (rows) sqlite3_bind_int(rows.get(), 1, limit);
  int result = step(rows);
  for (; result == SQLITE_ROW; result = step(rows)) {
    changes.push_back(
        {column_text(rows, 0), column_text(rows, 1), column_text(rows, 2), column_text(rows, 3)});
  }
  (void)status_of(database, result, SQLITE_DONE);
  return changes;
}

long configuration_writes(const std::string& key) {
  sqlite3* database = connection();
  if (database == nullptr) return 0;
  Statement found = prepare(database, kWrites, {key});
  int result = step(found);
  if (result == SQLITE_DONE) return 0;
  if (status_of(database, result, SQLITE_ROW) != CFG_OK) return 0;
  return static_cast<long>(sqlite3_column_int64(found.get(), 0));
}

}  // namespace platen

int Cfg_GetAttrValue(const char* key, char* value, int size) {
  if (!platen::is_key(key) || value == nullptr || size <= 0) return CFG_INVALID;
  std::string found;
  int status = platen::read_setting(key, &found);
  if (status != CFG_OK) return status;
  if (found.size() >= static_cast<size_t>(size)) return CFG_INVALID;
  std::memcpy(value, found.c_str(), found.size() + 1);
  return CFG_OK;
}

int Cfg_SetAttrValue(const char* key, const char* value) {
  if (value == nullptr) value = "";
  if (!platen::is_key(key) || std::strlen(value) > platen::kLongestValue) return CFG_INVALID;
  return platen::write_setting(key, value);
}

int Cfg_GetBoolAttrValue(const char* key, bool_t* value) {
  if (!platen::is_key(key) || value == nullptr) return CFG_INVALID;
  std::string found;
  int status = platen::read_setting(key, &found);
  if (status != CFG_OK) return status;
  bool is_true = found == "TRUE" || found == "1";
  bool is_false = found == "FALSE" || found == "0";
  if (!is_true && !is_false) return CFG_NO_VALUE;
  *value = is_true ? TRUE : FALSE;
  return CFG_OK;
}

int Cfg_SetBoolAttrValue(const char* key, bool_t value) {
  return Cfg_SetAttrValue(key, value == FALSE ? "FALSE" : "TRUE");
}

const char* Cfg_GetContext(void) { return "platend:"; }
