// The password handlers of the mailbox: what they compare, store and choose, line by line.
// SPDX-License-Identifier: MIT
#include <cstdlib>
#include <tuple>

#include "calls_fixture.h"
#include "mailbox_lines.h"

namespace {

constexpr char kFolder[] = "HTTP_Parser_Verify_Mbox_Password_fn";
constexpr char kJob[] = "HTTP_Parser_Verify_Job_Password_fn";
constexpr char kRoot[] = "/var/spool/nc/image_store/s2mailbox/";
constexpr char kNotStored[] = "Failed to set sid to Config Server";

using FolderLogin = ModuleCalls;
using JobLogin = ModuleCalls;
using PasswordForm = ModuleCalls;
using MailboxPasswordDeathTest = ModuleCalls;

// The value of the form's entry of that number after a handler ran; the handlers look at the
// record's entries only.
std::string next_page(int (*handler)(QVN_AppData*, FormEntry*, int), Request& request, int entry) {
  request->outfs = nullptr;
  journal().clear();
  EXPECT_EQ(handler(request.record(), nullptr, 0), 0);
  return request.entries()[entry].val;
}

std::string after_folder_login(const std::string& folder, const std::string& password) {
  Request request{{"NextPage", "/old"}, {"name", folder}, {"pass", password}, {"sid", "abc"}};
  return next_page(parser().HTTP_Parser_Verify_Mbox_Password_fn, request, 0);
}

std::string next_page_logged(const std::string& page) {
  return logged(102, "WILL TRY TO SET NEXT PAGE TO '" + page + "'");
}

TEST_F(FolderLogin, WithTheRightPasswordStoresTheSession) {
  scripted_device().settings = {{"scanToMailbox.box1.password", "1234"}};
  Request request{{"sid", "abc"}, {"name", "box1"}, {"pass", "1234"}, {"NextPage", "/old"}};
  const std::string page = "/mailbox/folder.php?name=box1";
  EXPECT_EQ(next_page(parser().HTTP_Parser_Verify_Mbox_Password_fn, request, 3), page);
  EXPECT_EQ(scripted_device().settings["scanToMailbox.box1.sid"], "abc");
  EXPECT_EQ(
      journal().lines(),
      joined({{entering(kFolder), logged(102, "HAVE SID VALUE OF 'abc'."),
               logged(102, "HAVE USERNAME VALUE OF 'box1'."),
               logged(102, "HAVE PASSWORD VALUE OF '1234'.")},
              password_asked("box1"),
              {logged(102, "Set config server value of 'scanToMailbox.box1.sid'."),
               "Cfg_SetAttrValue('scanToMailbox.box1.sid', 'abc')",
               logged(102, "PASSWORD MATCHES = '1'."), next_page_logged(page), leaving(kFolder)}}));
}

TEST_F(FolderLogin, WithAWrongPasswordStoresNothing) {
  scripted_device().settings = {{"scanToMailbox.box1.password", "1234"}};
  const std::string page = "/mailbox/pin.php?name=box1&msg=tryagn";
  EXPECT_EQ(after_folder_login("box1", "123"), page);
  EXPECT_EQ(journal().calls(), (Lines{asked("scanToMailbox.box1.password")}));
  EXPECT_EQ(part(journal().lines(), 8, 3), (Lines{logged(102, "PASSWORD MATCHES = '0'."),
                                                  next_page_logged(page), leaving(kFolder)}));
}

TEST_F(FolderLogin, ComparesWholeTextsByBytes) {
  const std::tuple<const char*, const char*, bool> rows[] = {
      {"abc", "abc", true},   {"abc", "ABC", false},  {"abc", "ab", false},
      {"abc", "abcd", false}, {"abc", " abc", false}, {"abc", "", false},
      {"", "", true},         {"", "x", false},       {"\xFF'\"", "\xFF'\"", true}};
  for (const auto& [stored, entered_text, opens] : rows) {
    scripted_device().settings = {{"scanToMailbox.box1.password", stored}};
    const std::string page = after_folder_login("box1", entered_text);
    EXPECT_EQ(page.starts_with("/mailbox/folder.php"), opens) << stored << " " << entered_text;
    EXPECT_EQ(scripted_device().settings.count("scanToMailbox.box1.sid"), opens ? 1U : 0U);
  }
}

TEST_F(FolderLogin, ThatCannotBeCheckedIsAWrongOne) {
  const std::tuple<std::string, std::string> rows[] = {
      {"box1", "scanToMailbox.box1.password"}, {"", ""}, {std::string(233, 'n'), ""}};
  for (const auto& [folder, key] : rows) {
    EXPECT_EQ(after_folder_login(folder, ""), "/mailbox/pin.php?name=" + folder + "&msg=tryagn");
    const Lines lines = journal().lines();
    EXPECT_EQ(part(lines, lines.size() - 5, 2),
              (Lines{asked(key), logged(102, "Value for '" + key +
                                                 "' could not be retrieved from Config Server")}));
  }
}

TEST_F(FolderLogin, WhoseSessionCannotBeStoredIsAWrongOne) {
  scripted_device().settings = {{"scanToMailbox.box1.password", "1"}};
  scripted_device().locked = {"scanToMailbox.box1.sid"};
  EXPECT_EQ(after_folder_login("box1", "1"), "/mailbox/pin.php?name=box1&msg=tryagn");
  EXPECT_EQ(part(journal().lines(), 8, 4),
            (Lines{logged(102, "Set config server value of 'scanToMailbox.box1.sid'."),
                   "Cfg_SetAttrValue('scanToMailbox.box1.sid', 'abc')", logged(102, kNotStored),
                   logged(102, "PASSWORD MATCHES = '0'.")}));
}

TEST_F(FolderLogin, WithoutAKeyStoresNoSession) {
  scripted_device().settings = {{"", "1"}};
  EXPECT_EQ(after_folder_login("", "1"), "/mailbox/pin.php?name=&msg=tryagn");
  EXPECT_EQ(journal().calls(), (Lines{asked("")}));
  EXPECT_EQ(part(journal().lines(), 9, 2),
            (Lines{logged(102, kNotStored), logged(102, "PASSWORD MATCHES = '0'.")}));
}

TEST_F(FolderLogin, WithoutFolderOrPasswordAsksNobody) {
  const std::tuple<Fields, const char*> rows[] = {
      {{{"NextPage", ""}, {"pass", ""}}, "/mailbox/pin.php?name=&msg=tryagn"},
      {{{"NextPage", ""}, {"name", "box1"}}, "/mailbox/pin.php?name=box1&msg=tryagn"}};
  for (const auto& [fields, page] : rows) {
    Request request(fields);
    EXPECT_EQ(next_page(parser().HTTP_Parser_Verify_Mbox_Password_fn, request, 0), page);
    EXPECT_EQ(journal().calls(), Lines{});
    EXPECT_EQ(journal().lines().at(2), logged(102, "PASSWORD MATCHES = '0'."));
  }
}

TEST_F(FolderLogin, WithoutASessionStoresNone) {
  scripted_device().settings = {{"scanToMailbox.box1.password", ""}};
  Request request{{"name", "box1"}, {"pass", ""}, {"NextPage", ""}};
  EXPECT_EQ(next_page(parser().HTTP_Parser_Verify_Mbox_Password_fn, request, 2),
            "/mailbox/folder.php?name=box1");
  EXPECT_EQ(journal().calls().back(), "Cfg_SetAttrValue('scanToMailbox.box1.sid', NULL)");
}

TEST_F(FolderLogin, TakesTheLastOfRepeatedFields) {
  scripted_device().settings = {{"scanToMailbox.last.password", "right"}};
  Request request{{"name", "first"},  {"pass", "wrong"},  {"sid", "old"},
                  {"NextPage", "/1"}, {"NextPage", "/2"}, {"name", "last"},
                  {"sid", "new"},     {"pass", "right"},  {"Name", "other"}};
  EXPECT_EQ(next_page(parser().HTTP_Parser_Verify_Mbox_Password_fn, request, 4),
            "/mailbox/folder.php?name=last");
  EXPECT_STREQ(request.entries()[3].val, "/1");
  EXPECT_EQ(scripted_device().settings["scanToMailbox.last.sid"], "new");
}

TEST_F(FolderLogin, WithoutANextPageStillStoresTheSession) {
  scripted_device().settings = {{"scanToMailbox.box1.password", "1"}};
  Request request{{"name", "box1"}, {"pass", "1"}, {"sid", "abc"}};
  EXPECT_EQ(next_page(parser().HTTP_Parser_Verify_Mbox_Password_fn, request, 0), "box1");
  EXPECT_EQ(scripted_device().settings["scanToMailbox.box1.sid"], "abc");
  EXPECT_EQ(part(journal().lines(), 10, 2),
            (Lines{logged(102, "PASSWORD MATCHES = '1'."), leaving(kFolder)}));
}

TEST_F(FolderLogin, GivesTheNextPageToAnEntryWithoutAValue) {
  Request request{{"NextPage", ""}, {"name", "box1"}};
  std::free(request.entries()[0].val);
  request.entries()[0].val = nullptr;
  EXPECT_EQ(next_page(parser().HTTP_Parser_Verify_Mbox_Password_fn, request, 0),
            "/mailbox/pin.php?name=box1&msg=tryagn");
}

TEST_F(FolderLogin, WritesTheNextPageWholeAndUnescaped) {
  const std::string folder = "a b&c=%\"'/?\xFF" + std::string(5000, 'n');
  EXPECT_EQ(after_folder_login(folder, "1"), "/mailbox/pin.php?name=" + folder + "&msg=tryagn");
}

// ---- Jobs. ----

Fields job_form(const std::string& password, const std::string& action) {
  return {{"NextPage", "/old"}, {"file", "scan.KTP"}, {"name", "box1"},
          {"pass", password},   {"subf", "job7"},     {"action", action}};
}

std::string after_job_login(const Fields& fields) {
  Request request(fields);
  return next_page(parser().HTTP_Parser_Verify_Job_Password_fn, request, 0);
}

// The path of the job log that was opened.
std::string opened_log() {
  for (const std::string& call : journal().calls()) {
    const std::string start = "Open(tpl, '";
    if (call.starts_with(start)) return call.substr(start.size(), call.rfind('\'') - start.size());
  }
  return "(none)";
}

TEST_F(JobLogin, ChoosesThePageByPasswordAndAction) {
  const std::string query = "name=box1&subf=job7";
  const std::tuple<const char*, const char*, std::string> rows[] = {
      {"1234", "opn", "/mailbox/folder.php?" + query},
      {"1234", "OPN", "/mailbox/do_action.php?" + query + "&file=scan.KTP&action=OPN"},
      {"1234", "opn ", "/mailbox/do_action.php?" + query + "&file=scan.KTP&action=opn "},
      {"1234", "", "/mailbox/do_action.php?" + query + "&file=scan.KTP&action="},
      {"123", "opn", "/mailbox/action.php?" + query + "&file=scan.KTP&action=opn&msg=tryagn"},
      {"12345", "del", "/mailbox/action.php?" + query + "&file=scan.KTP&action=del&msg=tryagn"},
      {"", "opn", "/mailbox/action.php?" + query + "&file=scan.KTP&action=opn&msg=tryagn"}};
  scripted_store().values = {{"MetaDataValue", {"1234"}}};
  for (const auto& [password, action, page] : rows) {
    EXPECT_EQ(after_job_login(job_form(password, action)), page);
  }
}

TEST_F(JobLogin, IsLoggedInOrder) {
  scripted_store().values = {{"MetaDataValue", {"1"}}};
  const std::string path = kRoot + std::string("box1/job7.x/job7.KTP");
  Fields fields = job_form("1", "opn");
  fields[4].value = "job7.x";
  EXPECT_EQ(after_job_login(fields), "/mailbox/folder.php?name=box1&subf=job7.x");
  EXPECT_EQ(
      journal().lines(),
      joined({{entering(kJob), support_logged(102, "Have argument of 'scan.KTP'."),
               support_logged(102, "Have argument of 'box1'."),
               support_logged(102, "Have argument of '1'."),
               support_logged(102, "Have argument of 'job7.x'."),
               support_logged(102, "Have argument of 'opn'."),
               logged(102, "HAVE folderNameToUse of 'box1/'"),
               support_logged(102, "Have main template name of 'job7'."),
               logged(102, "HAVE subFolderNameToUse of 'job7.x/'"),
               logged(102, "HAVE nameSansSuffix of 'job7'"),
               logged(102, "HAVE fileNameToUse of 'job7.KTP'"),
               logged(102, "HAVE jobLogPath of '" + path + "'")},
              job_password_read(path),
              {logged(102, "PASSWORD MATCHES = '1'."),
               next_page_logged("/mailbox/folder.php?name=box1&subf=job7.x"), leaving(kJob)}}));
}

TEST_F(JobLogin, ReadsTheLogOfTheJob) {
  const std::string at63(63, 'n');
  const std::string at62 = std::string(62, 'j');
  const std::tuple<std::string, std::string, std::string, std::string> rows[] = {
      {"box1", "", "scan.KTP", "box1/scan.KTP"},
      {"box1", "", "scan.tar.gz", "box1/scan.tar.KTP"},
      {"box1", "", "scan", "box1/.KTP"},
      {"box1", "job7.d", "scan.KTP", "box1/job7.d/job7.KTP"},
      {"box1", "job7", "scan.KTP", "box1/job7/.KTP"},
      {"", "", "scan.KTP", "/scan.KTP"},
      {at63, at63, "scan.KTP", at63 + "/" + at63 + "/.KTP"},
      {at63 + "n", at63 + "n", "scan.KTP", ".KTP"},
      {"box1", at62 + ".", "scan.KTP", "box1/" + at62 + "./" + at62 + ".KTP"},
      {"box1", "", at62 + ".x", "box1/" + at62 + ".KTP"},
      {"box1", "", at62 + "j.x", "box1/.KTP"},
  };
  for (const auto& [name, subf, file, path] : rows) {
    after_job_login({{"NextPage", ""},
                     {"name", name},
                     {"subf", subf},
                     {"file", file},
                     {"pass", "1"},
                     {"action", "opn"}});
    EXPECT_EQ(opened_log(), kRoot + path);
  }
}

TEST_F(JobLogin, AgainstALogWithoutAPasswordIsAWrongOne) {
  EXPECT_TRUE(after_job_login(job_form("", "opn")).starts_with("/mailbox/action.php"));
  scripted_store().results["Open"] = {0};
  scripted_store().results["GetLastTemplateError"] = {KWTERR_FILE_OPEN};
  scripted_store().values = {{"MetaDataValue", {""}}};
  EXPECT_TRUE(after_job_login(job_form("", "opn")).starts_with("/mailbox/action.php"));
  EXPECT_TRUE(after_job_login(job_form("", "opn")).starts_with("/mailbox/folder.php"));
}

TEST_F(JobLogin, TakesTheFirstOfRepeatedFieldsButTheLastNextPage) {
  Fields fields = job_form("1", "opn");
  for (const Field& field : Fields(fields)) fields.push_back({field.name, "other"});
  scripted_store().values = {{"MetaDataValue", {"1"}}};
  Request request(fields);
  EXPECT_EQ(next_page(parser().HTTP_Parser_Verify_Job_Password_fn, request, 6),
            "/mailbox/folder.php?name=box1&subf=job7");
  EXPECT_STREQ(request.entries()[0].val, "/old");
}

TEST_F(JobLogin, WithoutANextPageChangesNone) {
  Request request{{"name", "box1"}, {"file", "a.KTP"}, {"pass", "1"}, {"action", "opn"}};
  EXPECT_EQ(next_page(parser().HTTP_Parser_Verify_Job_Password_fn, request, 0), "box1");
  EXPECT_EQ(journal().lines().back(), leaving(kJob));
  EXPECT_EQ(journal().logs().at(journal().logs().size() - 2),
            mailbox_log(102, "PASSWORD MATCHES = '0'."));
}

TEST_F(JobLogin, WithoutAnyFieldIsAWrongOne) {
  EXPECT_EQ(after_job_login({{"NextPage", "/old"}}),
            "/mailbox/action.php?name=&subf=&file=&action=&msg=tryagn");
  EXPECT_EQ(opened_log(), kRoot + std::string(".KTP"));
}

TEST_F(JobLogin, WritesTheNextPageWhole) {
  const std::string text = "a b&\"'" + std::string(3000, 't');
  EXPECT_EQ(after_job_login({{"NextPage", ""},
                             {"name", text},
                             {"subf", text},
                             {"file", text},
                             {"pass", "1"},
                             {"action", text}}),
            "/mailbox/action.php?name=" + text + "&subf=" + text + "&file=" + text +
                "&action=" + text + "&msg=tryagn");
}

// ---- New passwords. ----

using FormHandler = void (*)(QVN_AppData*, FormEntry*, int);

TEST_F(PasswordForm, StoresThePasswordOfItsOwnFields) {
  const Fields fields = {{"unsafePasswd", "user's"}, {"saPasswd", "admin's"},
                         {"unsafeUser", "john"},     {"saUser", "jane"},
                         {"saUser", "later"},        {"saPasswd", "later"}};
  const std::tuple<FormHandler, const char*, const char*> rows[] = {
      {parser().HTTP_Parser_Mbox_Set_Pass_SA_fn, "admin's", "jane"},
      {parser().HTTP_Parser_Mbox_Set_Pass_Usr_fn, "user's", "john"}};
  for (const auto& [handler, password, folder] : rows) {
    Request request(fields);
    const std::string request_text = password_key(folder) + "=\"" + password + "\"";
    journal().clear();
    handler(request.record(), nullptr, 0);
    EXPECT_EQ(journal().lines(),
              (Lines{support_logged(102, "Have argument of '" + std::string(password) + "'."),
                     support_logged(102, "Have argument of '" + std::string(folder) + "'."),
                     "log 9 configapi.h:344 ConfigUpdate: context:" + request_text,
                     sent_update(request_text), "ipc_free_message(0, reply)"}));
  }
}

TEST_F(PasswordForm, WithoutAPasswordMakesTheFolderPublic) {
  Request request{{"saUser", "john"}};
  parser().HTTP_Parser_Mbox_Set_Pass_SA_fn(request.record(), nullptr, 0);
  EXPECT_EQ(part(journal().calls(), 0, 1), (Lines{sent_update(password_key("john") + "=\"\"")}));
}

TEST_F(PasswordForm, WithoutAUserOrARecordStoresNothing) {
  for (const FormHandler handler :
       {parser().HTTP_Parser_Mbox_Set_Pass_SA_fn, parser().HTTP_Parser_Mbox_Set_Pass_Usr_fn}) {
    Request request{{"saPasswd", "1"}, {"unsafePasswd", "1"}};
    handler(request.record(), request.entries(), request.count());
    handler(nullptr, request.entries(), request.count());
    EXPECT_EQ(journal().calls(), Lines{});
    EXPECT_EQ(journal().logs().size(), 4U);
    journal().clear();
  }
}

// ---- The end of the process. ----

TEST_F(MailboxPasswordDeathTest, NullRecordsEndTheProcess) {
  const auto fatal = [](const std::string& function) {
    return Lines{mailbox_log(8, "ENTER " + function), mailbox_log(3, "inUdata is NULL! Exiting!")};
  };
  EXPECT_FATAL(parser().HTTP_Parser_Verify_Mbox_Password_fn(nullptr, nullptr, 0), fatal(kFolder));
  EXPECT_FATAL(parser().HTTP_Parser_Verify_Job_Password_fn(nullptr, nullptr, 0), fatal(kJob));
}

TEST_F(MailboxPasswordDeathTest, ANextPageWithoutMemoryEndsTheProcess) {
  Request request{{"NextPage", "/old"}};
  EXPECT_FATAL(
      {
        fail_allocation(1, Allocator::module);
        parser().HTTP_Parser_Verify_Mbox_Password_fn(request.record(), nullptr, 0);
      },
      (Lines{mailbox_log(8, "ENTER " + std::string(kFolder)),
             mailbox_log(102, "PASSWORD MATCHES = '0'."),
             mailbox_log(3, "malloc failed! Exiting!")}));
}

}  // namespace
