// The audit trail: who did or tried what, from where, and how it ended.
// SPDX-License-Identifier: MIT
#include "audit.h"

#include <algorithm>
#include <utility>

#include "ascii.h"

namespace platen {
namespace {

constexpr size_t kLongestText = 1000;

constexpr char kSchema[] =
    "CREATE TABLE IF NOT EXISTS audit ("
    "number INTEGER PRIMARY KEY AUTOINCREMENT, time INTEGER NOT NULL, login TEXT NOT NULL,"
    " address TEXT NOT NULL, action TEXT NOT NULL, object TEXT NOT NULL, outcome TEXT NOT NULL)";

std::string_view cut(std::string_view text) { return text.substr(0, kLongestText); }

bool holds(std::string_view text, std::string_view part) {
  return part.empty() || !std::ranges::search(text, part, {}, to_lower, to_lower).empty();
}

bool is_or_any(std::string_view wanted, std::string_view text) {
  return wanted.empty() || wanted == text;
}

}  // namespace

bool matches(const AuditFilter& filter, const AuditEntry& entry) {
  return is_or_any(filter.login, entry.login) && is_or_any(filter.address, entry.address) &&
         is_or_any(filter.action, entry.action) && holds(entry.object, filter.object) &&
         filter.is_done.value_or(entry.outcome == kDone) == (entry.outcome == kDone) &&
         entry.time >= filter.begin && entry.time < filter.end;
}

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
      "SELECT login, address, action, object, outcome, time FROM audit ORDER BY number DESC");
  std::vector<AuditEntry> entries;
  while (entries.size() < static_cast<size_t>(filter.limit) && row.step()) {
    AuditEntry entry = {row.text(0), row.text(1), row.text(2),
                        row.text(3), row.text(4), row.integer(5)};
    if (matches(filter, entry)) entries.push_back(std::move(entry));
  }
  return entries;
}

}  // namespace platen
