// What a session may do in the mailbox for having given a PIN or a job's password.
// SPDX-License-Identifier: MIT
//
// A folder is open for the one session whose id its configuration key holds. A right job password
// leaves a grant for what it was given for, for ten minutes. All functions may throw DatabaseError.
#ifndef HOST_MAILBOX_GRANTS_H_
#define HOST_MAILBOX_GRANTS_H_

#include <string>
#include <string_view>

#include "clock.h"
#include "device/database.h"
#include "secrets.h"

namespace platen {

// What a job password was given for: an action on a file of a job.
struct JobAction {
  std::string folder;
  std::string subf;
  std::string file;
  std::string action;
};

class MailboxGrants {
 public:
  // Requires `database` to outlive the object.
  explicit MailboxGrants(Database& database, Clock clock = system_time);

  // The session id that pages and handlers know a cookie's session by. It is of no use as a cookie,
  // and no cookie can be told from it.
  std::string sid(std::string_view cookie) const;

  void grant(std::string_view sid, const JobAction& job);
  bool has(std::string_view sid, const JobAction& job);

  // Takes the grant away; false when there is none.
  bool use(std::string_view sid, const JobAction& job);

  // Takes away all grants in a folder, or of a session.
  void forget_folder(std::string_view folder);
  void forget_session(std::string_view sid);

 private:
  Database& database_;
  Clock clock_;
  SecretKey key_;
};

}  // namespace platen

#endif  // HOST_MAILBOX_GRANTS_H_
