// Tests of the command line "platend account".
// SPDX-License-Identifier: MIT
#include "account_command.h"

#include <gtest/gtest.h>

#include "../device/temporary_directory.h"
#include "accounts.h"
#include "audit.h"
#include "capture.h"

namespace platen {
namespace {

constexpr PasswordCost kCheap{1, 8192};

class AccountCommandTest : public testing::Test {
 protected:
  struct Result {
    int status;
    std::string out;
    std::string err;
  };

  Result run(const std::vector<std::string>& words) { return run_on(file_, words); }

  static Result run_on(const std::string& file, const std::vector<std::string>& words) {
    Capture out;
    Capture err;
    const int status = account_command(words, file, out.stream(), err.stream(), kCheap);
    return {status, out.text(), err.text()};
  }

  // The password in what a command printed for an account.
  static std::string password_in(const std::string& text, const std::string& name) {
    const std::string before = "The password of " + name + " is ";
    EXPECT_TRUE(text.starts_with(before)) << text;
    EXPECT_TRUE(text.ends_with(" and must be changed at the first login.\n")) << text;
    return text.substr(before.size(), 19);
  }

  TemporaryDirectory directory_;
  std::string file_ = directory_.file("d");
  Database database_{file_};
  Sessions sessions_{database_};
  Accounts accounts_{database_, sessions_, kCheap};
};

TEST_F(AccountCommandTest, ResetsALostPasswordBesideARunningServer) {
  ASSERT_TRUE(accounts_.make_first());
  const std::string cookie = sessions_.start("admin");
  for (int i = 0; i < 6; ++i) accounts_.authenticate("admin", "wrong", "a");
  const Result result = run({"reset", "admin"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
  const std::string password = password_in(result.out, "admin");
  EXPECT_EQ(accounts_.authenticate("admin", password, "a").outcome, LoginResult::Outcome::right);
  EXPECT_EQ(accounts_.visitor(cookie).state, SessionState::ended);
}

TEST_F(AccountCommandTest, AddsWithARole) {
  struct Row {
    std::vector<std::string> words;
    Role role;
  };
  const Row rows[] = {{{"add", "a"}, Role::user},
                      {{"add", "b", "--role", "user"}, Role::user},
                      {{"add", "--role", "administrator", "c"}, Role::administrator},
                      {{"add", "d", "--role=administrator"}, Role::administrator}};
  std::string name = "a";
  for (const Row& row : rows) {
    const Result result = run(row.words);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(accounts_.find(name)->role, row.role) << name;
    EXPECT_EQ(accounts_.authenticate(name, password_in(result.out, name), "x").outcome,
              LoginResult::Outcome::right);
    ++name[0];
  }
}

TEST_F(AccountCommandTest, DisablesEnablesAndLists) {
  accounts_.make_first();
  run({"add", "erika"});
  const Result disabled = run({"disable", "erika"});
  EXPECT_EQ(disabled.status, 0);
  EXPECT_EQ(disabled.out, "");
  EXPECT_EQ(run({"list"}).out,
            "admin                    administrator must choose a password\n"
            "erika                    user          disabled must choose a password\n");
  EXPECT_EQ(run({"enable", "erika"}).status, 0);
  EXPECT_FALSE(accounts_.find("erika")->disabled);
}

TEST_F(AccountCommandTest, LeavesAnAuditEntryForEachChangeWithoutThePassword) {
  const std::string password = password_in(run({"add", "erika"}).out, "erika");
  run({"reset", "nobody"});
  run({"list"});
  const std::vector<AuditEntry> entries = Audit(database_).list();
  ASSERT_EQ(entries.size(), 2U);
  EXPECT_EQ(entries[0].action, "account reset");
  EXPECT_EQ(entries[0].object, "nobody");
  EXPECT_EQ(entries[0].outcome,
            "refused: There is no account \"nobody\"; look at the list of accounts.");
  EXPECT_EQ(entries[1].action, "account add");
  EXPECT_EQ(entries[1].object, "erika");
  EXPECT_EQ(entries[1].outcome, "done");
}

TEST_F(AccountCommandTest, TellsARefusal) {
  accounts_.make_first();
  const Result result = run({"disable", "admin"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err,
            "platend account: \"admin\" is the last administrator who can log in; enable or add "
            "another one before.\n");
}

TEST_F(AccountCommandTest, ExplainsWhatItDoesNotUnderstand) {
  struct Row {
    std::vector<std::string> words;
    const char* fault;
  };
  const Row rows[] = {
      {{}, "say what to do"},
      {{"remove", "erika"}, "\"remove\" is not known"},
      {{"add"}, "the account's name is missing"},
      {{"reset", "--role", "user"}, "\"--role\" is one word too many"},
      {{"list", "erika"}, "\"erika\" is one word too many"},
      {{"add", "a", "b"}, "\"b\" is one word too many"},
      {{"add", "a", "-x"}, "\"-x\" is one word too many"},
      {{"add", "a", "--role"}, "--role must be user or administrator, not \"\""},
      {{"add", "a", "--role="}, "--role must be user or administrator, not \"\""},
      {{"add", "a", "--role=root"}, "--role must be user or administrator, not \"root\""},
  };
  for (const Row& row : rows) {
    const Result result = run(row.words);
    EXPECT_EQ(result.status, 2) << row.fault;
    EXPECT_EQ(result.out, "");
    EXPECT_TRUE(result.err.starts_with("platend account: " + std::string(row.fault) +
                                       "\nusage: platend account list\n"))
        << result.err;
  }
  EXPECT_TRUE(accounts_.list().empty());
}

TEST_F(AccountCommandTest, MakesNoDatabase) {
  const std::string missing = directory_.file("missing");
  const Result result = run_on(missing, {"list"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err,
            "platend account: " + missing +
                ": No such file or directory; start platend once, or name its data by --data\n");
  EXPECT_EQ(directory_.read("missing"), "");
}

TEST_F(AccountCommandTest, TellsABrokenDatabase) {
  const std::string broken = directory_.write("broken", std::string(2000, 'x'));
  const Result result = run_on(broken, {"list"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "platend account: " + broken +
                            ": file is not a database; name another file or move this one away\n");
}

}  // namespace
}  // namespace platen
