// One request's visitor: who it is, in which language, and the cookies that it is given.
// SPDX-License-Identifier: MIT
#ifndef HOST_VISIT_H_
#define HOST_VISIT_H_

#include <string>
#include <string_view>

#include "accounts.h"
#include "audit.h"
#include "clone_uploads.h"
#include "device/database.h"
#include "handover.h"
#include "http_message.h"
#include "mailbox_grants.h"
#include "sessions.h"
#include "throttle.h"

namespace platen {

// What a worker knows about visitors, in one database. To be made in the worker: the connection of
// another process is of no use. Throws DatabaseError.
struct Visitors {
  explicit Visitors(const std::string& database_file);

  Database database;
  Sessions sessions;
  Accounts accounts;
  Audit audit;
  Handover handover;
  MailboxGrants grants;
  Throttle throttle;  // of PINs and job passwords
  CloneUploads uploads;
};

// The code of an installed language: the one that the visitor has chosen, else the browser's.
std::string language_of(const Request& request);

class Visit {
 public:
  // Requires `visitors` to outlive the object.
  Visit(Visitors& visitors, const Request& request);

  const Account& account() const { return visitor_.account; }
  Role role() const { return visitor_.account.role; }
  bool must_change() const { return visitor_.account.must_change; }
  bool has_session() const { return visitor_.state == SessionState::active; }
  bool has_ended() const { return visitor_.state == SessionState::ended; }

  const std::string& language() const { return language_; }

  // The visitor gets the rest of this answer, and what comes later, in that language.
  void choose_language(const std::string& code);

  const std::string& address() const { return address_; }

  // The cookie that the browser has or is given with the answer; empty when it needs none.
  const std::string& cookie() const { return cookie_; }

  // Judges the token of a posted form.
  TokenCheck::Verdict check_token(std::string_view token) const;

  // The token for a form on a page that is shown now; gives the browser a cookie if it has none.
  std::string token(std::string_view page);

  // Begins and ends the session. Either gives the browser a new cookie.
  void log_in(const std::string& account);
  void log_out();

  // The cookie of the session, or of the one that open_session() will begin where there is none.
  std::string session_cookie() const { return has_session() ? cookie_ : new_cookie(); }

  // Begins a session in which nobody is logged in, unless there is one, and gives the browser its
  // cookie, which session_cookie() made.
  void open_session(const std::string& cookie);

  // Announces an entry of the audit trail: what record() will tell the outcome of.
  void announce(const std::string& action, const std::string& object);

  // Adds an entry to the audit trail, with the visitor's address; after a failure, which is logged, it
  // waits for the next one.
  void record(const std::string& login, const std::string& action, const std::string& object,
              const std::string& outcome);

  // Leaves a text for a page that comes after this one. Returns whether it is kept; a failure is
  // logged and changes nothing.
  bool leave(std::string_view name, std::string_view text);

  // Takes what was left, once.
  std::string take(std::string_view name);

  // Adds the headers that give the browser its new cookies.
  void add_cookies(Response* response) const;

 private:
  void need_cookie();
  void replace_cookie(std::string cookie);

  Visitors& visitors_;
  std::string cookie_;
  Visitor visitor_;
  std::string language_;
  std::string address_;
  bool secure_;
  bool has_new_cookie_ = false;
  bool has_new_language_ = false;
};

}  // namespace platen

#endif  // HOST_VISIT_H_
