// The audit trail: who did or tried what, from where, and how it ended.
// SPDX-License-Identifier: MIT
#include "audit.h"

#include <utility>

namespace platen {
namespace {

constexpr size_t kLongestText = 1000;

constexpr char kSchema[] =
    "CREATE TABLE IF NOT EXISTS audit ("
    "number INTEGER PRIMARY KEY AUTOINCREMENT, time INTEGER NOT NULL, login TEXT NOT NULL,"
    " address TEXT NOT NULL, action TEXT NOT NULL, object TEXT NOT NULL, outcome TEXT NOT NULL)";

std::string_view cut(std::string_view text) { return text.substr(0, kLongestText); }

}  // namespace

Audit::Audit(Database& database, Clock clock, int kept)
    : database_(database), clock_(std::move(clock)), kept_(kept) {
  database_.make(kSchema);
}

void Audit::record(const AuditEntry& entry) {
  Transaction transaction(database_);
  database_.run(
      "INSERT INTO audit (time, login, address, action, object, outcome)"
      " VALUES (?1, ?2, ?3, ?4, ?5, ?6)",
      clock_(), cut(entry.login), cut(entry.address), cut(entry.action), cut(entry.object),
      cut(entry.outcome));
  database_.run("DELETE FROM audit WHERE number <= last_insert_rowid() - ?1", kept_);
  transaction.commit();
}

std::vector<AuditEntry> Audit::list(const AuditFilter& filter) {
  Statement row = database_.prepare(
      "SELECT login, address, action, object, outcome, time FROM audit"
      " WHERE ?1 IN ('', login) AND ?2 IN ('', address) AND ?3 IN ('', action)"
      " AND ?4 IN ('', object) ORDER BY number DESC LIMIT ?5",
      filter.login, filter.address, filter.action, filter.object, filter.limit);
  std::vector<AuditEntry> entries;
  while (row.step()) {
    entries.push_back(
        {row.text(0), row.text(1), row.text(2), row.text(3), row.text(4), row.integer(5)});
  }
  return entries;
}

}  // namespace platen
