// The audit trail: who did or tried what, from where, and how it ended.
// SPDX-License-Identifier: MIT
//
// A secret never stands here: callers give no password, PIN, cookie or token, and as `login` only
// the name of a session's account or of a login that was right, for people type passwords into
// the name's field. All functions may throw DatabaseError.
#ifndef HOST_AUDIT_H_
#define HOST_AUDIT_H_

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "clock.h"
#include "device/database.h"

namespace platen {

struct AuditEntry {
  std::string login;    // empty: nobody was logged in
  std::string address;  // the client's; empty for the command line
  std::string action;   // what was asked for: "login", "HTTP_Parser_Copy_fn"
  std::string object;   // what it was asked of: a template's path, an account's name
  std::string outcome;  // "done", or why it was refused or failed
  int64_t time = 0;     // seconds since 1970; 0: when it is recorded
};

// The outcome of what was carried out.
inline constexpr std::string_view kDone = "done";

// Each text that is not empty must be equal; `object` must be part of the entry's, in small or
// capital letters of ASCII.
struct AuditFilter {
  std::string login = "";
  std::string address = "";
  std::string action = "";
  std::string object = "";
  std::optional<bool> is_done = std::nullopt;  // carried out; false: refused or failed
  int64_t begin = 0;                           // the first second
  int64_t end = INT64_MAX;                     // the one after the last
  int limit = 100;
};

// Whether an entry is one that the filter asks for.
bool matches(const AuditFilter& filter, const AuditEntry& entry);

class Audit {
 public:
  // The latest `kept` entries stay, older ones are dropped. Requires `database` to outlive the
  // object.
  explicit Audit(Database& database, Clock clock = system_time, int kept = 100'000);

  // Tells `watcher` of each entry that is announced, and with an empty text that it was recorded.
  using Watcher = std::function<void(std::string_view announced)>;
  void watch(Watcher watcher) { watcher_ = std::move(watcher); }

  // Announces what is about to be carried out: if the process ends before it records the outcome,
  // whoever watches can do so by ended_entry().
  void announce(const AuditEntry& entry);

  // Ends what was announced and not recorded, if anything, by that outcome, as record_later() does.
  void end_announced(const std::string& outcome);

  // Adds an entry; each text is cut to its first 1,000 bytes. Entries that wait are added before it.
  void record(const AuditEntry& entry);

  // Adds an entry, or, when the database cannot be used, logs that and keeps the entry as
  // record_later() does.
  void record_or_keep(const AuditEntry& entry);

  // Keeps an entry that cannot be recorded now until the next one can; at most 100 wait.
  void record_later(AuditEntry entry);

  // The entries that match, newest first.
  std::vector<AuditEntry> list(const AuditFilter& filter = {});

 private:
  void forget_announced();
  void insert(const AuditEntry& entry);

  Database& database_;
  Clock clock_;
  int kept_;
  Watcher watcher_;
  std::optional<AuditEntry> announced_;
  std::vector<AuditEntry> waiting_;
};

// The entry that was announced as that text, ended by `outcome`; nothing when the text is none.
std::optional<AuditEntry> ended_entry(std::string_view announced, const std::string& outcome);

}  // namespace platen

#endif  // HOST_AUDIT_H_
