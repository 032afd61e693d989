// The mailbox keys, paths and updates: their bounds, and every line and call in its order.
// SPDX-License-Identifier: MIT
#include <cstring>
#include <tuple>

#include "calls_fixture.h"
#include "mailbox_lines.h"

namespace {

constexpr char kSettingKey[] = "PrivBuildMboxCfgString";
constexpr char kPasswordKey[] = "PrivBuildPasswordCfgString";
constexpr char kNoRoom[] = "Not enough room in 'ioCfgString' to copy all the data!";

using MailboxKeys = ModuleCalls;
using MailboxPaths = ModuleCalls;
using MailboxValues = ModuleCalls;
using MailboxUpdates = ModuleCalls;

// A terminated buffer of a caller, with bytes behind it that are none of the module's.
struct Buffer {
  explicit Buffer(char filling) { std::memset(bytes, filling, kSize); }

  // Tells whether all bytes from `first` on hold `byte`.
  bool holds(std::size_t first, char byte) const {
    return std::string(bytes + first, kSize - first) == std::string(kSize - first, byte);
  }

  static constexpr std::size_t kSize = 300;
  char bytes[kSize + 1] = "";
};

TEST_F(MailboxKeys, OfSettingsArePrefixedAndTraced) {
  Buffer key('#');
  parser().PrivBuildMboxCfgString(Argument("webUpdate"), key.bytes);
  EXPECT_STREQ(key.bytes, "scanToMailbox.webUpdate");
  EXPECT_EQ(journal().lines(),
            (Lines{entering(kSettingKey),
                   logged(102, "Built mailbox config string of 'scanToMailbox.webUpdate'."),
                   leaving(kSettingKey)}));
}

TEST_F(MailboxKeys, OfSettingsClearTheBufferUpToItsBound) {
  Buffer key('#');
  parser().PrivBuildMboxCfgString(Argument("x"), key.bytes);
  EXPECT_EQ(std::string(key.bytes + 15, 240), std::string(240, '\0'));
  EXPECT_TRUE(key.holds(255, '#'));
}

TEST_F(MailboxKeys, OfPasswordsEndInTheirSuffixAndAreNotShown) {
  Buffer key('#');
  parser().PrivBuildPasswordCfgString(Argument("john"), key.bytes);
  EXPECT_STREQ(key.bytes, "scanToMailbox.john.password");
  EXPECT_TRUE(key.holds(28, '#'));
  EXPECT_EQ(journal().lines(), (Lines{entering(kPasswordKey), leaving(kPasswordKey)}));
}

TEST_F(MailboxKeys, HaveAtMost255Characters) {
  const std::tuple<void (*)(char*, char*), std::size_t, const char*> rows[] = {
      {parser().PrivBuildMboxCfgString, 241, ""},
      {parser().PrivBuildPasswordCfgString, 232, ".password"}};
  for (const auto& [build, longest, suffix] : rows) {
    Buffer key('\0');
    build(Argument(std::string(longest, 'n')), key.bytes);
    EXPECT_EQ(key.bytes, "scanToMailbox." + std::string(longest, 'n') + suffix);
    EXPECT_EQ(std::strlen(key.bytes), 255U);
    Buffer untouched('#');
    build(Argument(std::string(longest + 1, 'n')), untouched.bytes);
    EXPECT_TRUE(untouched.holds(0, '#'));
  }
}

TEST_F(MailboxKeys, ThatDoNotFitAreRefusedInWords) {
  char key[256] = "before";
  parser().PrivBuildMboxCfgString(Argument(std::string(242, 'n')), key);
  parser().PrivBuildPasswordCfgString(Argument(std::string(233, 'n')), key);
  EXPECT_EQ(journal().lines(),
            (Lines{entering(kSettingKey), logged(5, kNoRoom),
                   logged(102, "Built mailbox config string of 'before'."), leaving(kSettingKey),
                   entering(kPasswordKey), logged(5, kNoRoom), leaving(kPasswordKey)}));
}

TEST_F(MailboxKeys, WithoutANameAreRefusedInWords) {
  char blank[] = "";
  for (char* name : {static_cast<char*>(nullptr), blank}) {
    char key[256] = "before";
    journal().clear();
    parser().PrivBuildMboxCfgString(name, key);
    parser().PrivBuildPasswordCfgString(name, key);
    EXPECT_EQ(journal().lines(),
              (Lines{entering(kSettingKey), logged(5, "Parameter 'inPref' is NULL or blank"),
                     logged(102, "Built mailbox config string of 'before'."), leaving(kSettingKey),
                     entering(kPasswordKey), logged(5, "Parameter 'inUserName' is NULL or blank"),
                     leaving(kPasswordKey)}));
  }
}

TEST_F(MailboxKeys, WithoutABufferAreRefusedInWords) {
  parser().PrivBuildMboxCfgString(Argument("x"), nullptr);
  parser().PrivBuildPasswordCfgString(Argument("x"), nullptr);
  EXPECT_EQ(journal().lines(),
            (Lines{entering(kSettingKey), logged(5, "Parameter 'ioCfgString' is NULL."),
                   logged(102, "Built mailbox config string of '(null)'."), leaving(kSettingKey),
                   entering(kPasswordKey), logged(5, "Parameter 'ioCfgString' is NULL."),
                   leaving(kPasswordKey)}));
}

TEST_F(MailboxPaths, AreThoseOfTheFolderOrThePublicOne) {
  const std::string root = "/var/spool/nc/image_store/s2mailbox/";
  const std::string longest(217, 'n');
  const std::tuple<std::string, std::string> rows[] = {
      {"john", root + "john/"},        {"a/../b", root + "_PUBLIC/"},
      {"..", root + "_PUBLIC/"},       {"a..b", root + "_PUBLIC/"},
      {"a.b", root + "a.b/"},          {"", root + "/"},
      {longest, root + longest + "/"}, {longest + "n", ""}};
  for (const auto& [folder, path] : rows) {
    Buffer buffer('#');
    journal().clear();
    parser().PrivBuildMboxOutputFilesPath(Argument(folder), buffer.bytes);
    EXPECT_EQ(buffer.bytes, path);
    EXPECT_EQ(std::string(buffer.bytes + path.size(), 255 - path.size()),
              std::string(255 - path.size(), '\0'));
    EXPECT_TRUE(buffer.holds(255, '#'));
    EXPECT_EQ(journal().lines(),
              (Lines{logged(102, "Built path of '" + path + "' for mailbox output files.")}));
  }
  char path[255];
  parser().PrivBuildMboxOutputFilesPath(nullptr, path);
  EXPECT_EQ(path, root + "_PUBLIC/");
}

TEST_F(MailboxValues, SessionIdIsReadUnderTheFolder) {
  const std::tuple<const char*, const char*> rows[] = {{"john", "scanToMailbox.john.sid"},
                                                       {"a.b.", "scanToMailbox.a.b..sid"}};
  for (const auto& [folder, key] : rows) {
    scripted_device().settings = {{key, "abc"}};
    journal().clear();
    char sid[1064] = "";
    parser().GetPrivFolderSid(Argument(folder), sid);
    EXPECT_STREQ(sid, "abc");
    EXPECT_EQ(journal().lines(),
              (Lines{entering("GetPrivFolderSid"), entering(kPasswordKey), leaving(kPasswordKey),
                     logged(102, "Get config server value of '" + std::string(key) + "'."),
                     asked(key), leaving("GetPrivFolderSid")}));
  }
}

TEST_F(MailboxValues, SessionIdOfNobodyLeavesTheBuffer) {
  char sid[1064] = "before";
  parser().GetPrivFolderSid(Argument("john"), sid);
  EXPECT_STREQ(sid, "before");
  EXPECT_EQ(part(journal().lines(), 3, 4),
            (Lines{logged(102, "Get config server value of 'scanToMailbox.john.sid'."),
                   asked("scanToMailbox.john.sid"), not_retrieved("scanToMailbox.john.sid"),
                   leaving("GetPrivFolderSid")}));
}

TEST_F(MailboxValues, SessionIdWithoutAFolderIsAskedByTheEmptyKey) {
  char sid[1064] = "";
  parser().GetPrivFolderSid(Argument(""), sid);
  EXPECT_EQ(journal().lines(),
            (Lines{entering("GetPrivFolderSid"), entering(kPasswordKey),
                   logged(5, "Parameter 'inUserName' is NULL or blank"), leaving(kPasswordKey),
                   logged(102, "There is no period in ''"), asked(""), not_retrieved(""),
                   leaving("GetPrivFolderSid")}));
}

TEST_F(MailboxValues, APasswordThatIsNotEmptyMakesAFolderPrivate) {
  const std::tuple<const char*, bool_t> rows[] = {{"1", TRUE}, {" ", TRUE}, {"", FALSE}};
  for (const auto& [password, is_private] : rows) {
    scripted_device().settings = {{"scanToMailbox.john.password", password}};
    journal().clear();
    EXPECT_EQ(parser().PrivIsFolderPrivate(Argument("john")), is_private) << password;
    EXPECT_EQ(journal().lines(), password_asked("john"));
  }
}

TEST_F(MailboxValues, WithoutAPasswordAFolderIsPublic) {
  EXPECT_EQ(parser().PrivIsFolderPrivate(Argument("john")), FALSE);
  EXPECT_EQ(journal().lines(),
            joined({password_asked("john"), {not_retrieved("scanToMailbox.john.password")}}));
}

TEST_F(MailboxValues, AFolderWithoutAKeyIsPublic) {
  for (const std::string& name : {std::string(), std::string(233, 'n')}) {
    journal().clear();
    EXPECT_EQ(parser().PrivIsFolderPrivate(Argument(name)), FALSE);
    EXPECT_EQ(part(journal().lines(), 3, 3),
              (Lines{logged(102, "Looking for config server value of ''."), asked(""),
                     not_retrieved("")}));
  }
}

TEST_F(MailboxValues, ALongestPasswordIsReadWhole) {
  scripted_device().settings = {{"scanToMailbox.john.password", std::string(1063, 'p')},
                                {"scanToMailbox.john.sid", std::string(1063, 's')}};
  char sid[1064] = "";
  EXPECT_EQ(parser().PrivIsFolderPrivate(Argument("john")), TRUE);
  parser().GetPrivFolderSid(Argument("john"), sid);
  EXPECT_EQ(sid, std::string(1063, 's'));
}

// ---- Updates. ----

std::string update_logged(const std::string& request) {
  return "log 9 configapi.h:344 ConfigUpdate: context:" + request;
}

const std::string kRefused =
    logged(5, "Cfg Srv - Was unable to set value for 'services[templatePool].localUpdating'.");
constexpr char kFreed[] = "ipc_free_message(0, reply)";

TEST_F(MailboxUpdates, SetAPasswordAsItIs) {
  const std::tuple<const char*, const char*> rows[] = {
      {"1234", R"(scanToMailbox.john.password="1234")"},
      {"", R"(scanToMailbox.john.password="")"},
      {"a\"b\\\n%s", "scanToMailbox.john.password=\"a\"b\\\n%s\""}};
  for (const auto& [password, request] : rows) {
    journal().clear();
    parser().PrivSetPasswordForUser(Argument("john"), Argument(password));
    EXPECT_EQ(journal().lines(), (Lines{update_logged(request), sent_update(request), kFreed}));
  }
}

TEST_F(MailboxUpdates, TakeNoPasswordForTheEmptyOne) {
  parser().PrivSetPasswordForUser(Argument("john"), nullptr);
  const std::string request = R"(scanToMailbox.john.password="")";
  EXPECT_EQ(journal().lines(), (Lines{update_logged(request), sent_update(request), kFreed}));
}

TEST_F(MailboxUpdates, RequestAReload) {
  parser().PrivForceTemplateUpdate();
  const std::string request = R"(services[templatePool].localUpdating="TRUE")";
  EXPECT_EQ(journal().lines(), (Lines{update_logged(request), sent_update(request), kFreed}));
}

TEST_F(MailboxUpdates, AreCutAtTheirBuffer) {
  parser().PrivSetPasswordForUser(Argument("john"), Argument(std::string(5000, 'x')));
  const std::string request =
      padded("scanToMailbox.john.password=\"", 1064 - std::string("context:").size());
  EXPECT_EQ(journal().lines(), (Lines{update_logged(request), sent_update(request), kFreed}));
}

TEST_F(MailboxUpdates, ThatAreRefusedNameTheReloadWhateverWasSet) {
  for (const int status : {1, -7}) {
    scripted_device().reply_status = status;
    journal().clear();
    parser().PrivSetPasswordForUser(Argument("john"), Argument("1"));
    parser().PrivForceTemplateUpdate();
    EXPECT_EQ(part(journal().lines(), 2, 2), (Lines{kFreed, kRefused}));
    EXPECT_EQ(part(journal().lines(), 6, 2), (Lines{kFreed, kRefused}));
  }
}

TEST_F(MailboxUpdates, ThatCannotBeSentTellTheStatus) {
  const std::string failure =
      "log 5 configapi.h:360 ConfigUpdate: IPC send failure\n\t\tstatus = -7";
  scripted_device().send_status = -7;
  parser().PrivForceTemplateUpdate();
  EXPECT_EQ(part(journal().lines(), 2, 2), (Lines{failure, kRefused}));
  EXPECT_EQ(journal().lines().size(), 4U);
  scripted_device().replies_to_failed_sends = true;
  journal().clear();
  parser().PrivForceTemplateUpdate();
  EXPECT_EQ(part(journal().lines(), 2, 3), (Lines{failure, kFreed, kRefused}));
}

}  // namespace
