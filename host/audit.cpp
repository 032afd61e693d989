// The audit trail: who did or tried what, from where, and how it ended.
// SPDX-License-Identifier: MIT
#include "audit.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

#include "ascii.h"
#include "platform/log.h"

namespace platen {
namespace {

using Json = nlohmann::json;

constexpr size_t kLongestText = 1000;
constexpr size_t kLongestAnnounced = 300;
constexpr size_t kMostWaiting = 100;

constexpr char kSchema[] =
    "CREATE TABLE IF NOT EXISTS audit ("
    "number INTEGER PRIMARY KEY AUTOINCREMENT, time INTEGER NOT NULL, login TEXT NOT NULL,"
    " address TEXT NOT NULL, action TEXT NOT NULL, object TEXT NOT NULL, outcome TEXT NOT NULL)";

std::string_view cut(std::string_view text) { return text.substr(0, kLongestText); }

bool holds(std::string_view text, std::string_view part) {
  const auto is_same = [](char a, char b) { return to_lower(a) == to_lower(b); };
  return part.empty() ||
         std::search(text.begin(), text.end(), part.begin(), part.end(), is_same) != text.end();
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

void Audit::announce(const AuditEntry& entry) {
  announced_ = entry;
  if (!watcher_) return;
  const Json texts = {entry.login, entry.address, entry.action,
                      entry.object.substr(0, kLongestAnnounced)};
  watcher_(texts.dump(-1, ' ', true, Json::error_handler_t::replace));
}

void Audit::record(const AuditEntry& entry) {
  Transaction transaction(database_);
  for (const AuditEntry& waiting : waiting_) insert(waiting);
  insert(entry);
  database_.run("DELETE FROM audit WHERE number <= last_insert_rowid() - ?1", kept_);
  transaction.commit();
  waiting_.clear();
  forget_announced();
}

void Audit::record_or_keep(const AuditEntry& entry) {
  try {
    record(entry);
  } catch (const DatabaseError& error) {
    Log_Entry(LOG_LEVEL_ERROR, "audit.cpp", __LINE__, "the audit entry for %s waits: %s",
              entry.action.c_str(), error.what());
    record_later(entry);
  }
}

void Audit::record_later(AuditEntry entry) {
  forget_announced();
  if (waiting_.size() == kMostWaiting) return;
  if (entry.time == 0) entry.time = clock_();
  waiting_.push_back(std::move(entry));
}

void Audit::end_announced(const std::string& outcome) {
  if (!announced_) return;
  AuditEntry entry = *std::exchange(announced_, std::nullopt);
  entry.outcome = outcome;
  record_later(std::move(entry));
}

void Audit::forget_announced() {
  announced_.reset();
  if (watcher_) watcher_("");
}

void Audit::insert(const AuditEntry& entry) {
  database_.run(
      "INSERT INTO audit (time, login, address, action, object, outcome)"
      " VALUES (?1, ?2, ?3, ?4, ?5, ?6)",
      entry.time == 0 ? clock_() : entry.time, cut(entry.login), cut(entry.address),
      cut(entry.action), cut(entry.object), cut(entry.outcome));
}

std::optional<AuditEntry> ended_entry(std::string_view announced, const std::string& outcome) {
  const Json texts = Json::parse(announced, nullptr, false);
  const auto is_text = [](const Json& text) { return text.is_string(); };
  if (!texts.is_array() || texts.size() != 4 || !std::ranges::all_of(texts, is_text)) {
    return std::nullopt;
  }
  return AuditEntry{texts[0], texts[1], texts[2], texts[3], outcome};
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
