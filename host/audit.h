// The audit trail: who did or tried what, from where, and how it ended.
// SPDX-License-Identifier: MIT
//
// A secret never stands here: callers give no password, PIN, cookie or token, and as `login` only
// the name of a session's account or of a login that was right, for people type passwords into
// the name's field. All functions may throw DatabaseError.
#ifndef HOST_AUDIT_H_
#define HOST_AUDIT_H_

#include <string>
#include <string_view>
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
  int64_t time = 0;     // seconds since 1970, set when it is recorded
};

// Each text that is not empty must be equal.
struct AuditFilter {
  std::string login = "";
  std::string address = "";
  std::string action = "";
  std::string object = "";
  int limit = 100;
};

class Audit {
 public:
  // The latest `kept` entries stay, older ones are dropped. Requires `database` to outlive the
  // object.
  explicit Audit(Database& database, Clock clock = system_time, int kept = 100'000);

  // Adds an entry; each text is cut to its first 1,000 bytes.
  void record(const AuditEntry& entry);

  // The entries that match, newest first.
  std::vector<AuditEntry> list(const AuditFilter& filter = {});

 private:
  Database& database_;
  Clock clock_;
  int kept_;
};

}  // namespace platen

#endif  // HOST_AUDIT_H_
