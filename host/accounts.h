// The accounts that may log in: their passwords, roles and states.
// SPDX-License-Identifier: MIT
//
// Functions that return a text return "" when the thing was done, else one sentence for the user
// that says why not and what to do; nothing has changed then. All may throw DatabaseError, and
// std::runtime_error when memory for a password check is short. Passwords that are given stay the
// caller's, who wipes them; passwords that are made here are handed out once and not kept.
#ifndef HOST_ACCOUNTS_H_
#define HOST_ACCOUNTS_H_

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "clock.h"
#include "device/database.h"
#include "secrets.h"
#include "sessions.h"
#include "throttle.h"

namespace platen {

enum class Role { anonymous, user, administrator };

// "anonymous", "user" or "administrator".
const char* role_name(Role role);

// The role of that name that an account may have; nothing for another name or "anonymous".
std::optional<Role> account_role(std::string_view name);

struct Account {
  std::string name;
  Role role = Role::anonymous;
  bool disabled = false;
  bool must_change = false;  // the password was made here: it serves to choose another, no more
};

struct LoginResult {
  enum class Outcome { right, wrong, disabled, wait };

  Outcome outcome = Outcome::wrong;
  Account account;           // of a right password only
  int64_t wait_seconds = 0;  // until the next try is heard
};

// How the change of a password ended.
struct PasswordChange {
  std::string fault;         // why not; empty when it is changed, or when it has to wait
  int64_t wait_seconds = 0;  // more than 0: too many failed tries, the old password was not checked

  bool operator==(const PasswordChange&) const = default;
};

// Who sent a request: the session of its cookie, and the account as it is now.
struct Visitor {
  SessionState state = SessionState::anonymous;
  Account account;  // anonymous and without a name unless somebody is logged in
};

class Accounts {
 public:
  // Requires `database` and `sessions` to outlive the object; both use the same database.
  Accounts(Database& database, Sessions& sessions, PasswordCost cost = interactive_cost(),
           Clock clock = system_time);

  // At the first start, when there is no account: makes the administrator "admin" and returns its
  // password, to be printed once. Returns nothing when there are accounts.
  std::optional<std::string> make_first();

  // Checks a login from an address. A name that is not known takes as long as a wrong password;
  // that an account is disabled is told only to who has its password. Outcome `wait`: too many
  // failures, nothing was checked. A right login needs Sessions::start() to become a session.
  LoginResult authenticate(std::string_view name, std::string_view password,
                           std::string_view address);

  // The visitor behind a cookie. The session of an account that is disabled or gone has ended.
  Visitor visitor(std::string_view cookie);

  // Replaces an account's own password: `next` must differ from `old_password` and have at least 10
  // characters, at most 128 bytes and no control character. Wrong old passwords count as failed
  // logins. Ends the account's other sessions; that of `kept_cookie` stays.
  PasswordChange change_password(std::string_view name, std::string_view old_password,
                                 std::string_view next, std::string_view address,
                                 std::string_view kept_cookie);

  // Adds an account with a password of its own in `password`. A name has 1 to 64 letters, digits
  // and the signs . _ - @ and begins with a letter or digit.
  std::string add(std::string_view name, Role role, std::string* password);

  // Gives an account a new password in `password`, ends its sessions and forgets its failed logins,
  // so that whoever was locked out can log in at once.
  std::string reset(std::string_view name, std::string* password);

  // Disabling ends the account's sessions; the last enabled administrator stays.
  std::string set_disabled(std::string_view name, bool disabled);

  // All accounts by name.
  std::vector<Account> list();

  std::optional<Account> find(std::string_view name);

 private:
  struct Record {
    Account account;
    std::string password;  // as hash_password() made it
  };

  std::optional<Record> read(std::string_view name);
  void store_password(std::string_view name, const std::string& hashed, bool must_change,
                      std::string_view kept_cookie);
  bool is_last_administrator(const Account& account);

  Database& database_;
  Sessions& sessions_;
  PasswordCost cost_;
  Throttle throttle_;
};

}  // namespace platen

#endif  // HOST_ACCOUNTS_H_
