// Tests of accounts: logins, passwords, roles, and what ends sessions.
// SPDX-License-Identifier: MIT
#include "accounts.h"

#include <gtest/gtest.h>

#include "../device/temporary_directory.h"
#include "fake_clock.h"

namespace platen {
namespace {

using Outcome = LoginResult::Outcome;

constexpr PasswordCost kCheap{1, 8192};
constexpr char kFrom[] = "10.0.0.1";

class AccountsTest : public testing::Test {
 protected:
  std::string add(const std::string& name, Role role = Role::user) {
    std::string password;
    EXPECT_EQ(accounts_.add(name, role, &password), "");
    return password;
  }

  Outcome log_in(const std::string& name, const std::string& password) {
    return accounts_.authenticate(name, password, kFrom).outcome;
  }

  std::string change(const std::string& name, const std::string& from, const std::string& to,
                     const std::string& cookie = "") {
    const PasswordChange change = accounts_.change_password(name, from, to, kFrom, cookie);
    EXPECT_EQ(change.wait_seconds, 0);
    return change.fault;
  }

  TemporaryDirectory directory_;
  Database database_{directory_.file("d")};
  FakeClock time_;
  Sessions sessions_{database_, SessionTimes{}, time_.clock()};
  Accounts accounts_{database_, sessions_, kCheap, time_.clock()};
};

TEST_F(AccountsTest, MakesTheFirstAdministratorOnce) {
  const std::optional<std::string> password = accounts_.make_first();
  ASSERT_TRUE(password);
  EXPECT_FALSE(accounts_.make_first());
  const LoginResult login = accounts_.authenticate("admin", *password, kFrom);
  EXPECT_EQ(login.outcome, Outcome::right);
  EXPECT_EQ(login.account.name, "admin");
  EXPECT_EQ(login.account.role, Role::administrator);
  EXPECT_TRUE(login.account.must_change);
}

TEST_F(AccountsTest, MakesNoFirstAdministratorBesideOthers) {
  add("erika");
  EXPECT_FALSE(accounts_.make_first());
}

TEST_F(AccountsTest, TakesTheRightPasswordOnly) {
  const std::string password = add("erika");
  EXPECT_EQ(log_in("erika", password), Outcome::right);
  EXPECT_EQ(log_in("erika", password + "x"), Outcome::wrong);
  EXPECT_EQ(log_in("Erika", password), Outcome::wrong);
  EXPECT_EQ(log_in("nobody", password), Outcome::wrong);
  EXPECT_EQ(log_in("", ""), Outcome::wrong);
  EXPECT_EQ(log_in("' OR 1=1 --", password), Outcome::wrong);
}

TEST_F(AccountsTest, SlowsFailedLoginsOfKnownAndUnknownNamesAlike) {
  const std::string password = add("erika");
  for (const char* name : {"erika", "nobody"}) {
    for (int i = 0; i < 5; ++i) EXPECT_EQ(log_in(name, "wrong"), Outcome::wrong);
    EXPECT_EQ(log_in(name, password), Outcome::wait) << name;
    EXPECT_EQ(accounts_.authenticate(name, password, kFrom).wait_seconds, 1) << name;
  }
  time_.now += 1;
  EXPECT_EQ(log_in("erika", password), Outcome::right);
}

TEST_F(AccountsTest, DoesTheWorkOfACheckForAnUnknownName) {
  // At a cost that no machine can pay, the work shows by its failure.
  Accounts unpayable(database_, sessions_, {1, ~size_t{0}}, time_.clock());
  EXPECT_THROW(unpayable.authenticate("nobody", "any password", kFrom), std::runtime_error);
}

TEST_F(AccountsTest, TellsThatAnAccountIsDisabledToItsOwnerOnly) {
  const std::string password = add("erika");
  EXPECT_EQ(accounts_.set_disabled("erika", true), "");
  EXPECT_EQ(log_in("erika", "wrong"), Outcome::wrong);
  const LoginResult login = accounts_.authenticate("erika", password, kFrom);
  EXPECT_EQ(login.outcome, Outcome::disabled);
  EXPECT_EQ(login.account.name, "");
  EXPECT_EQ(accounts_.set_disabled("erika", false), "");
  EXPECT_EQ(log_in("erika", password), Outcome::right);
}

TEST_F(AccountsTest, RaisesTheCostOfAStoredPasswordAtItsNextLogin) {
  const std::string password = add("erika");
  Accounts dearer(database_, sessions_, {2, 8192}, time_.clock());
  const auto stored = [this] {
    Statement row = database_.prepare("SELECT password FROM account");
    row.step();
    return row.text(0);
  };
  const std::string cheap = stored();
  EXPECT_EQ(dearer.authenticate("erika", "wrong", kFrom).outcome, Outcome::wrong);
  EXPECT_EQ(stored(), cheap);
  EXPECT_EQ(dearer.authenticate("erika", password, kFrom).outcome, Outcome::right);
  EXPECT_NE(stored().find(",t=2,"), std::string::npos);
  EXPECT_EQ(dearer.authenticate("erika", password, kFrom).outcome, Outcome::right);
}

TEST_F(AccountsTest, ChangesAPasswordAndEndsTheOtherSessions) {
  const std::string password = add("erika");
  const std::string own = sessions_.start("erika");
  const std::string other = sessions_.start("erika");
  EXPECT_EQ(change("erika", password, "a longer one", own), "");
  EXPECT_EQ(log_in("erika", password), Outcome::wrong);
  EXPECT_EQ(log_in("erika", "a longer one"), Outcome::right);
  EXPECT_FALSE(accounts_.find("erika")->must_change);
  EXPECT_EQ(accounts_.visitor(own).state, SessionState::active);
  EXPECT_EQ(accounts_.visitor(other).state, SessionState::ended);
}

TEST_F(AccountsTest, RefusesPasswordsThatAreNotFit) {
  const std::string password = add("erika");
  const std::string e_acute = "\xC3\xA9";
  std::string nine;
  for (int i = 0; i < 9; ++i) nine += e_acute;
  struct Row {
    std::string next;
    const char* refusal;
  };
  const char* too_short = "The new password is too short; it needs at least 10 characters.";
  const char* control =
      "The new password holds a control character; use letters, digits and signs.";
  const Row rows[] = {
      {"", too_short},
      {"123456789", too_short},
      {nine, too_short},
      {"1234567890\n", control},
      {std::string("1234567890\0", 11), control},
      {"1234567890\x7F", control},
      {std::string(129, 'x'), "The new password is too long; it may have at most 128 bytes."},
      {password, "The new password is the old one; choose another."},
  };
  for (const Row& row : rows) EXPECT_EQ(change("erika", password, row.next), row.refusal);
  EXPECT_EQ(log_in("erika", password), Outcome::right);
  EXPECT_EQ(change("erika", password, nine + e_acute), "");
  EXPECT_EQ(change("erika", nine + e_acute, std::string(128, 'x')), "");
}

TEST_F(AccountsTest, AsksForTheOldPasswordAndSlowsGuesses) {
  const std::string password = add("erika");
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(change("erika", "wrong", "a longer one"),
              "The old password is not right; type it again.");
  }
  EXPECT_EQ(accounts_.change_password("erika", password, "a longer one", kFrom, ""),
            (PasswordChange{"", 1}));
  time_.now += 1;
  EXPECT_EQ(log_in("erika", password), Outcome::right);
}

TEST_F(AccountsTest, ResetsAPasswordAndEndsAllSessions) {
  add("erika");
  const std::string cookie = sessions_.start("erika");
  std::string password;
  EXPECT_EQ(accounts_.reset("erika", &password), "");
  EXPECT_EQ(log_in("erika", password), Outcome::right);
  EXPECT_TRUE(accounts_.find("erika")->must_change);
  EXPECT_EQ(accounts_.visitor(cookie).state, SessionState::ended);
  EXPECT_EQ(accounts_.reset("nobody", &password),
            "There is no account \"nobody\"; look at the list of accounts.");
}

TEST_F(AccountsTest, LetsALockedOutAccountLogInAtOnceAfterAReset) {
  add("erika");
  add("max");
  for (int i = 0; i < 5; ++i) {
    log_in("erika", "wrong");
    log_in("max", "wrong");
  }
  EXPECT_EQ(log_in("erika", "wrong"), Outcome::wait);
  std::string password;
  EXPECT_EQ(accounts_.reset("erika", &password), "");
  EXPECT_EQ(log_in("erika", password), Outcome::right);
  EXPECT_EQ(log_in("max", "wrong"), Outcome::wait);
}

TEST_F(AccountsTest, EndsTheSessionsOfADisabledAccountForGood) {
  add("erika");
  const std::string cookie = sessions_.start("erika");
  EXPECT_EQ(accounts_.visitor(cookie).account.name, "erika");
  EXPECT_EQ(accounts_.set_disabled("erika", true), "");
  EXPECT_EQ(accounts_.visitor(cookie).state, SessionState::ended);
  EXPECT_EQ(accounts_.visitor(cookie).account.role, Role::anonymous);
  EXPECT_EQ(accounts_.set_disabled("erika", false), "");
  EXPECT_EQ(accounts_.visitor(cookie).state, SessionState::ended);
}

TEST_F(AccountsTest, GivesADisabledAccountNoSession) {
  add("erika");
  EXPECT_EQ(accounts_.set_disabled("erika", true), "");
  EXPECT_EQ(accounts_.visitor(sessions_.start("erika")).state, SessionState::ended);
  EXPECT_EQ(accounts_.visitor(sessions_.start("nobody")).state, SessionState::ended);
}

TEST_F(AccountsTest, KeepsTheLastEnabledAdministrator) {
  add("first", Role::administrator);
  add("second", Role::administrator);
  add("erika");
  EXPECT_EQ(accounts_.set_disabled("second", true), "");
  EXPECT_EQ(
      accounts_.set_disabled("first", true),
      "\"first\" is the last administrator who can log in; enable or add another one before.");
  EXPECT_FALSE(accounts_.find("first")->disabled);
  EXPECT_EQ(accounts_.set_disabled("second", true), "");
  EXPECT_EQ(accounts_.set_disabled("erika", true), "");
  EXPECT_EQ(accounts_.set_disabled("second", false), "");
  EXPECT_EQ(accounts_.set_disabled("first", true), "");
  EXPECT_EQ(accounts_.set_disabled("nobody", true),
            "There is no account \"nobody\"; look at the list of accounts.");
}

TEST_F(AccountsTest, JudgesNames) {
  struct Row {
    std::string name;
    bool fit;
  };
  const Row rows[] = {
      {"e", true},     {"Erika.Muster-Frau_2@example.org", true},
      {"7", true},     {std::string(64, 'x'), true},
      {"", false},     {std::string(65, 'x'), false},
      {"-x", false},   {".x", false},
      {"a b", false},  {"a|b", false},
      {"a/b", false},  {"a\"b", false},
      {"a'b", false},  {"a\\b", false},
      {"a\nb", false}, {std::string("a\0b", 3), false},
      {"a<b", false},  {"\xC3\xA9", false},
  };
  for (const Row& row : rows) {
    std::string password;
    EXPECT_EQ(accounts_.add(row.name, Role::user, &password),
              row.fit ? ""
                      : "An account's name has 1 to 64 letters, digits and the signs . _ - @ and "
                        "begins with a letter or digit; choose such a name.")
        << row.name;
    EXPECT_EQ(password.empty(), !row.fit) << row.name;
  }
}

TEST_F(AccountsTest, AddsANameOnceAndWithARole) {
  const std::string first = add("erika");
  std::string password = "untouched";
  EXPECT_EQ(accounts_.add("erika", Role::administrator, &password),
            "There is an account \"erika\" already; choose another name.");
  EXPECT_EQ(accounts_.add("max", Role::anonymous, &password),
            "An account is that of a user or an administrator.");
  EXPECT_EQ(password, "untouched");
  EXPECT_EQ(log_in("erika", first), Outcome::right);
}

TEST_F(AccountsTest, ListsByName) {
  add("zoe");
  add("adam", Role::administrator);
  add("max");
  accounts_.set_disabled("max", true);
  const std::vector<Account> accounts = accounts_.list();
  ASSERT_EQ(accounts.size(), 3U);
  EXPECT_EQ(accounts[0].name, "adam");
  EXPECT_EQ(accounts[0].role, Role::administrator);
  EXPECT_EQ(accounts[1].name, "max");
  EXPECT_TRUE(accounts[1].disabled);
  EXPECT_EQ(accounts[2].name, "zoe");
  EXPECT_EQ(accounts[2].role, Role::user);
  EXPECT_FALSE(accounts_.find("nobody"));
}

TEST_F(AccountsTest, StoresNoPasswordReadably) {
  const std::string made = add("erika");
  EXPECT_EQ(change("erika", made, "my own secret"), "");
  database_.run("PRAGMA wal_checkpoint(TRUNCATE)");
  const std::string bytes = directory_.read("d");
  EXPECT_NE(bytes.find("$argon2id$"), std::string::npos);
  EXPECT_EQ(bytes.find(made), std::string::npos);
  EXPECT_EQ(bytes.find("my own secret"), std::string::npos);
}

TEST(Role, HasOneNameEach) {
  EXPECT_STREQ(role_name(Role::anonymous), "anonymous");
  EXPECT_EQ(account_role(role_name(Role::user)), Role::user);
  EXPECT_EQ(account_role(role_name(Role::administrator)), Role::administrator);
  EXPECT_FALSE(account_role("anonymous"));
  EXPECT_FALSE(account_role("Administrator"));
  EXPECT_FALSE(account_role(""));
}

}  // namespace
}  // namespace platen
