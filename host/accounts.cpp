// The accounts that may log in: their passwords, roles and states.
// SPDX-License-Identifier: MIT
#include "accounts.h"

#include <algorithm>
#include <utility>

#include "ascii.h"
#include "said.h"

namespace platen {
namespace {

constexpr size_t kLongestName = 64;
constexpr size_t kFewestCharacters = 10;
constexpr size_t kLongestPassword = 128;
constexpr std::string_view kFirstName = "admin";

constexpr char kSchema[] =
    "CREATE TABLE IF NOT EXISTS account ("
    "name TEXT PRIMARY KEY, password TEXT NOT NULL, role TEXT NOT NULL,"
    " disabled INTEGER NOT NULL DEFAULT 0, must_change INTEGER NOT NULL) WITHOUT ROWID";

struct RoleName {
  Role role;
  const char* name;
};

constexpr RoleName kRoleNames[] = {
    {Role::anonymous, "anonymous"}, {Role::user, "user"}, {Role::administrator, "administrator"}};

std::string unknown_account(std::string_view name) {
  return said("There is no account \"{1}\"; look at the list of accounts.", name);
}

std::string subject_of(std::string_view name) { return "account:" + std::string(name); }

bool is_account_name(std::string_view name) {
  return !name.empty() && name.size() <= kLongestName && is_letter_or_digit(name.front()) &&
         std::all_of(name.begin(), name.end(), [](char c) {
           return is_letter_or_digit(c) || c == '.' || c == '_' || c == '-' || c == '@';
         });
}

bool begins_character(char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }

// Why a password cannot be taken; empty when it can.
std::string password_fault(std::string_view password) {
  if (password.size() > kLongestPassword) {
    return said("The new password is too long; it may have at most {1} bytes.", kLongestPassword);
  }
  if (std::any_of(password.begin(), password.end(), is_control)) {
    return said("The new password holds a control character; use letters, digits and signs.");
  }
  const auto characters = std::count_if(password.begin(), password.end(), begins_character);
  if (static_cast<size_t>(characters) < kFewestCharacters) {
    return said("The new password is too short; it needs at least {1} characters.",
                kFewestCharacters);
  }
  return "";
}

Account account_in(const Statement& row) {
  return {row.text(0), account_role(row.text(1)).value_or(Role::anonymous), row.integer(2) != 0,
          row.integer(3) != 0};
}

}  // namespace

const char* role_name(Role role) {
  return std::find_if(std::begin(kRoleNames), std::end(kRoleNames),
                      [role](const RoleName& row) { return row.role == role; })
      ->name;
}

std::optional<Role> account_role(std::string_view name) {
  for (const RoleName& row : kRoleNames) {
    if (row.role != Role::anonymous && name == row.name) return row.role;
  }
  return std::nullopt;
}

Accounts::Accounts(Database& database, Sessions& sessions, PasswordCost cost, Clock clock)
    : database_(database), sessions_(sessions), cost_(cost), throttle_(database, std::move(clock)) {
  database_.make(kSchema);
}

std::optional<Accounts::Record> Accounts::read(std::string_view name) {
  Statement row = database_.prepare(
      "SELECT name, role, disabled, must_change, password FROM account WHERE name = ?1", name);
  if (!row.step()) return std::nullopt;
  return Record{account_in(row), row.text(4)};
}

std::optional<Account> Accounts::find(std::string_view name) {
  const std::optional<Record> record = read(name);
  if (!record) return std::nullopt;
  return record->account;
}

std::vector<Account> Accounts::list() {
  std::vector<Account> accounts;
  Statement row =
      database_.prepare("SELECT name, role, disabled, must_change FROM account ORDER BY name");
  while (row.step()) accounts.push_back(account_in(row));
  return accounts;
}

std::optional<std::string> Accounts::make_first() {
  if (database_.prepare("SELECT 1 FROM account LIMIT 1").step()) return std::nullopt;
  std::string password;
  if (!add(kFirstName, Role::administrator, &password).empty()) return std::nullopt;
  return password;
}

LoginResult Accounts::authenticate(std::string_view name, std::string_view password,
                                   std::string_view address) {
  using Outcome = LoginResult::Outcome;
  const std::string subject = subject_of(name);
  const int64_t wait = throttle_.begin(subject, address);
  if (wait > 0) return {Outcome::wait, {}, wait};
  const std::optional<Record> record = read(name);
  if (!record) {
    // The work of a check, so that the time does not tell which names exist.
    hash_password(password, cost_);
    return {};
  }
  if (!is_password(password, record->password)) return {};
  if (record->account.disabled) return {Outcome::disabled, {}, 0};
  throttle_.succeeded(subject, address);
  if (is_outdated(record->password, cost_)) {
    database_.run("UPDATE account SET password = ?2 WHERE name = ?1 AND password = ?3", name,
                  hash_password(password, cost_), record->password);
  }
  return {Outcome::right, record->account, 0};
}

Visitor Accounts::visitor(std::string_view cookie) {
  const Session session = sessions_.look_up(cookie);
  if (session.state != SessionState::active || session.account.empty()) return {session.state, {}};
  const std::optional<Account> account = find(session.account);
  if (!account || account->disabled) return {SessionState::ended, {}};
  return {SessionState::active, *account};
}

void Accounts::store_password(std::string_view name, const std::string& hashed, bool must_change,
                              std::string_view kept_cookie) {
  Transaction transaction(database_);
  database_.run("UPDATE account SET password = ?2, must_change = ?3 WHERE name = ?1", name, hashed,
                must_change);
  sessions_.end_all(name, kept_cookie);
  transaction.commit();
}

PasswordChange Accounts::change_password(std::string_view name, std::string_view old_password,
                                         std::string_view next, std::string_view address,
                                         std::string_view kept_cookie) {
  std::string fault = password_fault(next);
  if (!fault.empty()) return {std::move(fault)};
  if (next == old_password) {
    return {said("The new password is the old one; choose another.")};
  }
  const LoginResult login = authenticate(name, old_password, address);
  if (login.outcome == LoginResult::Outcome::wait) return {"", login.wait_seconds};
  if (login.outcome != LoginResult::Outcome::right) {
    return {said("The old password is not right; type it again.")};
  }
  store_password(name, hash_password(next, cost_), false, kept_cookie);
  return {};
}

std::string Accounts::add(std::string_view name, Role role, std::string* password) {
  if (!is_account_name(name)) {
    return said(
        "An account's name has 1 to {1} letters, digits and the signs . _ - @ and begins with "
        "a letter or digit; choose such a name.",
        kLongestName);
  }
  if (role == Role::anonymous) return said("An account is that of a user or an administrator.");
  std::string made = random_password();
  const int added = database_.run(
      "INSERT OR IGNORE INTO account (name, password, role, must_change) VALUES (?1, ?2, ?3, 1)",
      name, hash_password(made, cost_), role_name(role));
  if (added == 0) {
    return said("There is an account \"{1}\" already; choose another name.", name);
  }
  *password = std::move(made);
  return "";
}

std::string Accounts::reset(std::string_view name, std::string* password) {
  if (!find(name)) return unknown_account(name);
  *password = random_password();
  store_password(name, hash_password(*password, cost_), true, "");
  throttle_.forget(subject_of(name));
  return "";
}

bool Accounts::is_last_administrator(const Account& account) {
  if (account.role != Role::administrator || account.disabled) return false;
  Statement others =
      database_.prepare("SELECT count(*) FROM account WHERE role = ?1 AND disabled = 0",
                        role_name(Role::administrator));
  others.step();
  return others.integer(0) == 1;
}

std::string Accounts::set_disabled(std::string_view name, bool disabled) {
  Transaction transaction(database_);
  const std::optional<Account> account = find(name);
  if (!account) return unknown_account(name);
  if (disabled && is_last_administrator(*account)) {
    return said(
        "\"{1}\" is the last administrator who can log in; enable or add another one before.",
        name);
  }
  database_.run("UPDATE account SET disabled = ?2 WHERE name = ?1", name, disabled);
  if (disabled) sessions_.end_all(name);
  transaction.commit();
  return "";
}

}  // namespace platen
