// The configuration store: the settings behind platform/configapi.h, in one SQLite database.
// SPDX-License-Identifier: MIT
#include "device/configuration.h"

#include <cstring>
#include <memory>

#include "device/database.h"
#include "platform/configapi.h"
#include "platform/log.h"

namespace platen {
namespace {

constexpr char kSource[] = "configuration.cpp";
constexpr size_t kLongestKey = 255;
constexpr size_t kLongestValue = sizeof(ConfigAVP_t) - 1;

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
)sql";

constexpr char kRead[] = "SELECT value FROM setting WHERE key = ?1";
constexpr char kWrite[] =
    "INSERT OR REPLACE INTO setting (key, value, author, writes) VALUES (?1, ?2, ?3,"
    " 1 + coalesce((SELECT writes FROM setting WHERE key = ?1), 0))";
constexpr char kWrites[] = "SELECT writes FROM setting WHERE key = ?1";
constexpr char kAll[] = "SELECT key, value FROM setting ORDER BY key";
constexpr char kHistory[] =
    "SELECT time, key, value, author FROM change ORDER BY number DESC LIMIT ?1";

std::unique_ptr<Database> database;
std::string author;

// Runs `operation` on the database and returns its status; CFG_UNAVAILABLE, and the reason in the
// log, when the database cannot serve.
template <typename Operation>
int on_database(Operation operation) {
  try {
    if (database) return operation(*database);
    Log_Entry(LOG_LEVEL_ERROR, kSource, __LINE__, "The configuration was not opened.");
  } catch (const DatabaseError& failure) {
    Log_Entry(LOG_LEVEL_ERROR, kSource, __LINE__, "The configuration is unavailable: %s",
              failure.what());
  }
  return CFG_UNAVAILABLE;
}

bool is_key(const char* key) {
  return key != nullptr && *key != '\0' && std::strlen(key) <= kLongestKey;
}

int read_setting(const char* key, std::string* value) {
  return on_database([&](Database& settings) {
    Statement found = settings.prepare(kRead, std::string_view(key));
    if (!found.step()) return CFG_NO_VALUE;
    *value = found.text(0);
    return CFG_OK;
  });
}

}  // namespace

bool open_configuration(const std::string& file, std::string* error) {
  try {
    auto opened = std::make_unique<Database>(file);
    opened->make(kSchema);
    // A connection of its own for every process: what was opened here ends here.
    database = std::make_unique<Database>(file);
    return true;
  } catch (const DatabaseError& failure) {
    *error = failure.what();
    return false;
  }
}

void set_configuration_author(const std::string& login_name) { author = login_name; }

std::vector<ConfigurationChange> configuration_history(int limit) {
  std::vector<ConfigurationChange> changes;
  on_database([&](Database& settings) {
    Statement rows = settings.prepare(kHistory, limit);
    while (rows.step()) {
      changes.push_back({rows.text(0), rows.text(1), rows.text(2), rows.text(3)});
    }
    return CFG_OK;
  });
  return changes;
}

std::optional<std::vector<ConfigurationSetting>> configuration_settings() {
  std::vector<ConfigurationSetting> found;
  const int status = on_database([&](Database& settings) {
    Statement rows = settings.prepare(kAll);
    while (rows.step()) found.push_back({rows.text(0), rows.text(1)});
    return CFG_OK;
  });
  if (status != CFG_OK) return std::nullopt;
  return found;
}

bool is_secret_setting(std::string_view key) {
  return key.ends_with(".password") || key.ends_with(".sid");
}

long configuration_writes(const std::string& key) {
  long writes = 0;
  on_database([&](Database& settings) {
    Statement found = settings.prepare(kWrites, key);
    if (found.step()) writes = static_cast<long>(found.integer(0));
    return CFG_OK;
  });
  return writes;
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
  return platen::on_database([&](platen::Database& settings) {
    settings.run(platen::kWrite, std::string_view(key), std::string_view(value), platen::author);
    return CFG_OK;
  });
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
