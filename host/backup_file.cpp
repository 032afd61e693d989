// Writes, checks and reads the file of a backup.
// SPDX-License-Identifier: MIT
#include "backup_file.h"

#include <sodium.h>

#include <algorithm>
#include <cstdint>
#include <string_view>

#include "pool_files.h"

namespace platen {
namespace {

// Counts up with every change of the tables below.
constexpr int64_t kFormat = 1;

struct Table {
  std::string_view name;
  std::string_view columns;  // the first of them is the key
};

// What is copied from the state as it is.
constexpr Table kAccounts = {"account", "name, password, role, disabled, must_change"};
constexpr Table kSettings = {"setting", "key, value, author, writes"};
constexpr Table kChanges = {"change", "number, time, key, value, author"};
constexpr Table kAudit = {"audit", "number, time, login, address, action, object, outcome"};
constexpr Table kStateTables[] = {kAccounts, kSettings, kChanges, kAudit};

constexpr Table kOwnTables[] = {{"backup", "format, version, time"},
                                {"directory", "name, mode"},
                                {"template", "name, mode, bytes, fault"}};

constexpr char kSchema[] = R"sql(
CREATE TABLE backup (format INTEGER NOT NULL, version TEXT NOT NULL, time TEXT NOT NULL);
CREATE TABLE digest (digits TEXT NOT NULL);
CREATE TABLE directory (name TEXT PRIMARY KEY, mode INTEGER NOT NULL);
CREATE TABLE template (
  name TEXT PRIMARY KEY, mode INTEGER NOT NULL, bytes BLOB NOT NULL, fault TEXT NOT NULL
);
)sql";

// How often the pools were to be loaded again; it never goes back.
constexpr std::string_view kReloads = "services[templatePool].localUpdating";

std::string selection(const Table& table, std::string_view database) {
  return std::string("SELECT ").append(table.columns) + " FROM " + std::string(database) + "." +
         std::string(table.name);
}

class Digest {
 public:
  Digest() { crypto_generichash_init(&state_, nullptr, 0, sizeof bytes_); }

  // Each text with its size, so that no two sequences of texts are the same to it.
  void add(std::string_view text) {
    const uint64_t size = text.size();
    update(&size, sizeof size);
    update(text.data(), text.size());
  }

  std::string digits() {
    crypto_generichash_final(&state_, bytes_, sizeof bytes_);
    char text[2 * sizeof bytes_ + 1];
    return sodium_bin2hex(text, sizeof text, bytes_, sizeof bytes_);
  }

 private:
  void update(const void* bytes, size_t size) {
    crypto_generichash_update(&state_, static_cast<const unsigned char*>(bytes), size);
  }

  crypto_generichash_state state_;
  unsigned char bytes_[crypto_generichash_BYTES] = {};
};

void add_rows(Database& file, const Table& table, Digest* digest) {
  const auto columns = static_cast<int>(std::ranges::count(table.columns, ',')) + 1;
  digest->add(table.name);
  Statement rows = file.prepare(selection(table, "main") + " ORDER BY 1");
  while (rows.step()) {
    for (int i = 0; i < columns; ++i) digest->add(rows.text(i));
  }
}

std::string digest_of(Database& file) {
  Digest digest;
  for (const Table& table : kOwnTables) add_rows(file, table, &digest);
  for (const Table& table : kStateTables) add_rows(file, table, &digest);
  return digest.digits();
}

std::string text_of(Database& file, std::string_view sql) {
  Statement found = file.prepare(sql);
  return found.step() ? found.text(0) : "";
}

bool has_table(Database& file, std::string_view name) {
  return file.prepare("SELECT 1 FROM sqlite_schema WHERE type = 'table' AND name = ?1", name)
      .step();
}

bool has_all_tables(Database& file) {
  const auto is_there = [&](const Table& table) { return has_table(file, table.name); };
  return has_table(file, "digest") && std::ranges::all_of(kOwnTables, is_there) &&
         std::ranges::all_of(kStateTables, is_there);
}

}  // namespace

BackupWriter::BackupWriter(Database& file, const std::string& state) : file_(file) {
  file_.run("ATTACH DATABASE ?1 AS state", state);
  // Not one that is a writer from the beginning: it would keep the writers of the state waiting.
  file_.run("BEGIN");
  for (const Table& table : kStateTables) {
    file_.run("CREATE TABLE main." + std::string(table.name) + " AS " + selection(table, "state"));
  }
  std::string_view rest = kSchema;
  while (rest.find(';') != std::string_view::npos) {
    file_.run(rest.substr(0, rest.find(';')));
    rest.remove_prefix(rest.find(';') + 1);
  }
}

void BackupWriter::add_directory(const std::string& name, unsigned mode) {
  file_.run("INSERT INTO directory VALUES (?1, ?2)", name, int64_t{mode});
}

void BackupWriter::add_template(const BackupTemplate& one) {
  file_.run("INSERT INTO template VALUES (?1, ?2, CAST(?3 AS BLOB), ?4)", one.name,
            int64_t{one.mode}, one.bytes, one.fault);
}

void BackupWriter::finish(const std::string& version, const std::string& time) {
  file_.run("INSERT INTO backup VALUES (?1, ?2, ?3)", kFormat, version, time);
  file_.run("INSERT INTO digest VALUES (?1)", digest_of(file_));
  file_.run("COMMIT");
  file_.run("DETACH DATABASE state");
  file_.run("PRAGMA journal_mode = DELETE");
}

std::string BackupReader::fault() {
  try {
    if (!has_table(file_, "backup")) return "is no backup of platend";
    if (text_of(file_, "SELECT format FROM backup") > std::to_string(kFormat)) {
      return "was made by a newer platend (" + text_of(file_, "SELECT version FROM backup") +
             "); restore it with that one";
    }
    if (!has_all_tables(file_) || text_of(file_, "PRAGMA integrity_check") != "ok" ||
        text_of(file_, "SELECT digits FROM digest") != digest_of(file_)) {
      return "is damaged; take another backup";
    }
  } catch (const DatabaseError&) {
    return "is damaged, or no backup of platend; take another";
  }
  std::string stray;
  const auto is_fine = [&](const std::string& name, bool fine) {
    if (!fine) stray = name;
    return fine;
  };
  each_directory(
      [&](const auto& name, unsigned) { return is_fine(name, is_pool_directory(name)); });
  each_template([&](const auto& one) { return is_fine(one.name, is_pool_template(one.name)); });
  return stray.empty() ? "" : "names \"" + stray + "\", which is not in a pool of templates";
}

std::string BackupReader::time() { return text_of(file_, "SELECT time FROM backup"); }

void BackupReader::each_directory(
    const std::function<bool(const std::string& name, unsigned mode)>& visit) {
  Statement rows = file_.prepare("SELECT name, mode FROM directory ORDER BY name");
  while (rows.step() && visit(rows.text(0), static_cast<unsigned>(rows.integer(1)) & 0777U)) {
  }
}

void BackupReader::each_template(const std::function<bool(const BackupTemplate& one)>& visit) {
  Statement rows = file_.prepare("SELECT name, mode, bytes, fault FROM template ORDER BY name");
  while (rows.step() && visit({rows.text(0), static_cast<unsigned>(rows.integer(1)) & 0777U,
                               rows.text(2), rows.text(3)})) {
  }
}

bool BackupReader::has_template(const std::string& name) {
  return file_.prepare("SELECT 1 FROM template WHERE name = ?1", name).step();
}

namespace {

// Makes one trail of two. The same row in both is one row, and two in either stay two.
void merge_trail(Database& state, const Table& table) {
  const std::string name(table.name);
  const std::string told(table.columns.substr(table.columns.find(' ') + 1));  // all but the number
  const auto numbered = [&](const std::string& database) {
    return "SELECT number, " + told + ", row_number() OVER (PARTITION BY " + told +
           " ORDER BY number) AS nth FROM " + database + "." + name;
  };
  state.run("CREATE TEMP TABLE trail AS SELECT " + told + " FROM (" + numbered("main") +
            " UNION ALL " + numbered("kept") + ") GROUP BY " + told +
            ", nth ORDER BY time, min(number)");
  state.run("DELETE FROM main." + name);
  state.run("INSERT INTO main." + name + " (" + told + ") SELECT " + told +
            " FROM temp.trail ORDER BY rowid");
  state.run("DROP TABLE temp.trail");
}

void replace_accounts(Database& state) {
  state.run("DELETE FROM main.account");
  state.run("INSERT INTO main.account (" + std::string(kAccounts.columns) + ") " +
            selection(kAccounts, "kept"));
}

void replace_settings(Database& state) {
  state.run(
      "DELETE FROM main.setting WHERE key <> ?1 AND key NOT IN (SELECT key FROM kept.setting)",
      kReloads);
  state.run(
      "INSERT OR REPLACE INTO main.setting (key, value, author, writes)"
      " SELECT kept.key, kept.value, '', 1 + max(kept.writes, coalesce(own.writes, 0))"
      " FROM kept.setting AS kept LEFT JOIN main.setting AS own ON own.key = kept.key"
      " WHERE kept.key <> ?1 AND own.value IS NOT kept.value",
      kReloads);
}

void end_sessions(Database& state) {
  for (const char* table : {"session", "mailbox_grant", "left_text"}) {
    state.run(std::string("DELETE FROM main.") + table);
  }
}

}  // namespace

void restore_rows(Database& state, const std::string& file) {
  state.run("ATTACH DATABASE ?1 AS kept", file);
  {
    Transaction transaction(state);
    merge_trail(state, kAudit);
    merge_trail(state, kChanges);
    replace_accounts(state);
    replace_settings(state);
    end_sessions(state);
    transaction.commit();
  }
  state.run("DETACH DATABASE kept");
}

}  // namespace platen
