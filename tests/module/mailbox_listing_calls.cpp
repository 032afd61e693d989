// The listings of the mailbox pages: what is printed, and every line and call in its order.
// SPDX-License-Identifier: MIT
#include <tuple>

#include "calls_fixture.h"
#include "mailbox_lines.h"

namespace {

constexpr char kFolders[] = "HTTP_Parser_Mailbox_List_fn";
constexpr char kJobDirectories[] = "HTTP_Parser_Folder_Passwords_List_fn";
constexpr char kJobs[] = "HTTP_Parser_Job_Passwords_List_fn";
constexpr char kSpool[] = "/var/spool/nc/image_store/s2mailbox/";

using FolderListing = ModuleCalls;
using JobDirectoryListing = ModuleCalls;
using JobListing = ModuleCalls;
using MailboxListingDeathTest = ModuleCalls;

// A listing of a pool begins with these lines.
Lines pool_read(const std::string& directory) {
  return {"CKwtPool()", "SetPath('" + directory + "')", "Refresh()", "GetTemplateList()"};
}

Lines folders(const std::string& directory = "/dir") {
  Request request;
  journal().clear();
  parser().HTTP_Parser_Mailbox_List_fn(request.record(), Argument(directory));
  return journal().prints();
}

std::string folder_row(const std::string& file, const std::string& rest) {
  return "$gFolderList->AddFolderToList( new FolderInfo( \"" + file + "\", " + rest + " ));\n";
}

TEST_F(FolderListing, TellsPublicFromPrivateAndOpened) {
  scripted_store().files = {"open.KTP", "locked.KTP", "empty.KTP", "free.KTP"};
  scripted_device().settings = {{"scanToMailbox.open.password", "1"},
                                {"scanToMailbox.open.sid", "abc"},
                                {"scanToMailbox.locked.password", "2"},
                                {"scanToMailbox.empty.password", "3"},
                                {"scanToMailbox.empty.sid", ""},
                                {"scanToMailbox.free.password", ""},
                                {"scanToMailbox.free.sid", "of a former time"}};
  EXPECT_EQ(
      folders(),
      (Lines{folder_row("open.KTP", "true, \"abc\""), folder_row("locked.KTP", "true, \"T\""),
             folder_row("empty.KTP", "true, \"T\""), folder_row("free.KTP", "false, \"T\"")}));
}

TEST_F(FolderListing, OfAPublicFolderIsLoggedInOrder) {
  scripted_store().files = {"john.KTP"};
  folders();
  EXPECT_EQ(journal().lines(),
            joined({{entering(kFolders), support_logged(102, "Have argument of '/dir'.")},
                    pool_read("/dir"),
                    {support_logged(102, "Have main template name of 'john'.")},
                    password_asked("john"),
                    {not_retrieved("scanToMailbox.john.password"),
                     logged(102, "folder john does not need pin"),
                     "page " + folder_row("john.KTP", "false, \"T\""), "DestructorCKwtPool()",
                     leaving(kFolders)}}));
}

TEST_F(FolderListing, OfAPrivateFolderIsLoggedInOrder) {
  const std::tuple<const char*, std::string, const char*> rows[] = {
      {"abc", logged(1, "folderSid == NULL or folderSid !=''"), "true, \"abc\""},
      {"", logged(102, "folder sid is not set"), "true, \"T\""}};
  for (const auto& [sid, line, printed] : rows) {
    scripted_store().files = {"john.KTP"};
    scripted_device().settings = {{"scanToMailbox.john.password", "1"},
                                  {"scanToMailbox.john.sid", sid}};
    folders();
    EXPECT_EQ(part(journal().lines(), 11, 10),
              (Lines{logged(102, "folder john needs pin"), entering("GetPrivFolderSid"),
                     entering("PrivBuildPasswordCfgString"), leaving("PrivBuildPasswordCfgString"),
                     logged(102, "Get config server value of 'scanToMailbox.john.sid'."),
                     asked("scanToMailbox.john.sid"), leaving("GetPrivFolderSid"), line,
                     "page " + folder_row("john.KTP", printed), "DestructorCKwtPool()"}));
  }
}

TEST_F(FolderListing, PrintsNamesAndIdsAsTheyAre) {
  const std::string file = "a\"b\\c';$d{e}.x.KTP";
  scripted_store().files = {file};
  scripted_device().settings = {{"scanToMailbox.a\"b\\c';$d{e}.x.password", "1"},
                                {"scanToMailbox.a\"b\\c';$d{e}.x.sid", "\");"}};
  EXPECT_EQ(folders(), (Lines{folder_row(file, "true, \"\");\"")}));
}

TEST_F(FolderListing, TakesANameThatIsTooLongForPublic) {
  const std::string longest(62, 'n');
  scripted_store().files = {longest + ".KTP", longest + "n.KTP"};
  scripted_device().settings = {{"scanToMailbox." + longest + ".password", "1"},
                                {"scanToMailbox." + longest + "n.password", "1"}};
  EXPECT_EQ(folders(), (Lines{folder_row(longest + ".KTP", "true, \"T\""),
                              folder_row(longest + "n.KTP", "false, \"T\"")}));
}

TEST_F(FolderListing, PrintsALongestIdWhole) {
  scripted_store().files = {"john.KTP"};
  scripted_device().settings = {{"scanToMailbox.john.password", "1"},
                                {"scanToMailbox.john.sid", std::string(1063, 's')}};
  EXPECT_EQ(folders(), (Lines{folder_row("john.KTP", "true, \"" + std::string(1063, 's') + "\"")}));
}

TEST_F(FolderListing, TakesTheDirectoryFromTheFirstField) {
  Request request{{"TemplateDir", "/first"}, {"TemplateDir", "/second"}};
  parser().HTTP_Parser_Mailbox_List_fn(request.record(), Argument(""));
  EXPECT_EQ(journal().calls(), joined({pool_read("/first"), {"DestructorCKwtPool()"}}));
}

TEST_F(FolderListing, OfAnUnreadablePoolPrintsNothing) {
  scripted_store().files = {"john.KTP"};
  scripted_store().results["Refresh"] = {0};
  EXPECT_EQ(folders(), Lines{});
  EXPECT_EQ(journal().calls(),
            (Lines{"CKwtPool()", "SetPath('/dir')", "Refresh()", "DestructorCKwtPool()"}));
}

// ---- Jobs in directories. ----

TEST_F(JobDirectoryListing, OfAFolderThatIsNotThereSaysSo) {
  const std::tuple<std::string, std::string> rows[] = {
      {"no such folder", kSpool + std::string("no such folder/")}, {std::string(218, 'n'), ""}};
  for (const auto& [folder, path] : rows) {
    Request request;
    journal().clear();
    parser().HTTP_Parser_Folder_Passwords_List_fn(request.record(), Argument(folder));
    EXPECT_EQ(
        journal().lines(),
        (Lines{entering(kJobDirectories), support_logged(102, "Have argument of '" + folder + "'."),
               logged(102, "Built path of '" + path + "' for mailbox output files."),
               logged(5, "opendir RETURNED NULL :("), leaving(kJobDirectories)}));
  }
}

// ---- Jobs in logs. ----

Lines jobs(const std::string& folder = "john") {
  Request request;
  request->outfs = nullptr;
  journal().clear();
  parser().HTTP_Parser_Job_Passwords_List_fn(request.record(), Argument(folder));
  return journal().prints();
}

std::string job_row(const std::string& job, const std::string& password) {
  return "\t$gJobPasswords['" + job + "']\t= '" + password + "';\n";
}

class KeptNames : public ModuleCalls {
 private:
  ExpectedLeak leak_;  // the names that the listing keeps
};

using JobLogListing = KeptNames;

TEST_F(JobLogListing, PrintsThePasswordOfEachLogThatHasOne) {
  const std::string root = kSpool + std::string("john/");
  scripted_store().files = {"one.KTP", "none.KTP", "empty.KTP", "quote'\\.x.KTP"};
  scripted_store().values = {{root + "one.KTP MetaDataValue", {"1234", "second"}},
                             {root + "empty.KTP MetaDataValue", {""}},
                             {root + "quote'\\.x.KTP MetaDataValue", {"'\"\\"}}};
  EXPECT_EQ(jobs(),
            (Lines{job_row("one", "1234"), job_row("empty", ""), job_row("quote'\\.x", "'\"\\")}));
}

TEST_F(JobLogListing, ReadsEachLogInOrder) {
  const std::string path = kSpool + std::string("john/");
  scripted_store().files = {"a.KTP"};
  scripted_store().values = {{"MetaDataValue", {"1"}}};
  jobs();
  EXPECT_EQ(journal().lines(),
            joined({{entering(kJobs), support_logged(102, "Have argument of 'john'."),
                     logged(102, "Built path of '" + path + "' for mailbox output files.")},
                    pool_read(path),
                    {support_logged(102, "Have main template name of 'a'."),
                     support_logged(102, "Built full template path of '" + path + "a.KTP'.")},
                    job_password_read(path + "a.KTP"),
                    {"page " + job_row("a", "1"), "DestructorCKwtPool()", leaving(kJobs)}}));
}

TEST_F(JobLogListing, TakesANameOf64BytesForNone) {
  const std::string longest = std::string(59, 'n') + ".KTP";
  const std::string path = kSpool + std::string("john/");
  scripted_store().files = {longest, "n" + longest};
  scripted_store().values = {{"MetaDataValue", {"1"}}};
  EXPECT_EQ(jobs(), (Lines{job_row(std::string(59, 'n'), "1"), job_row("", "1")}));
  EXPECT_EQ(part(journal().calls(), 5, 1), (Lines{"Open(tpl, '" + path + longest + "', 0)"}));
  EXPECT_EQ(part(journal().calls(), 13, 1), (Lines{"Open(tpl, '" + path + "', 0)"}));
}

TEST_F(JobLogListing, GoesOnAfterALogThatCannotBeRead) {
  scripted_store().files = {"broken.KTP", "good.KTP"};
  scripted_store().results["Open"] = {0, 1};
  scripted_store().results["GetLastTemplateError"] = {KWTERR_FILE_OPEN};
  scripted_store().values = {{"MetaDataValue", {"1"}}};
  EXPECT_EQ(jobs(), (Lines{job_row("good", "1")}));
}

TEST_F(JobListing, TakesTheFolderFromTheFirstFieldOrThePublicOne) {
  Request named{{"name", "first"}, {"name", "second"}};
  Request unnamed;
  const std::tuple<Request*, std::string> rows[] = {{&named, "first"}, {&unnamed, "_PUBLIC"}};
  for (const auto& [request, folder] : rows) {
    journal().clear();
    parser().HTTP_Parser_Job_Passwords_List_fn(request->record(), nullptr);
    EXPECT_EQ(journal().calls(),
              joined({pool_read(kSpool + folder + "/"), {"DestructorCKwtPool()"}}));
  }
}

TEST_F(JobListing, OfAnUnreadableFolderPrintsNothingAndLogsNothing) {
  scripted_store().files = {"a.KTP"};
  scripted_store().results["Refresh"] = {0};
  EXPECT_EQ(jobs(std::string(218, 'n')), Lines{});
  EXPECT_EQ(part(journal().lines(), 2, 6),
            (Lines{logged(102, "Built path of '' for mailbox output files."), "CKwtPool()",
                   "SetPath('')", "Refresh()", "DestructorCKwtPool()", leaving(kJobs)}));
}

// ---- The end of the process. ----

TEST_F(MailboxListingDeathTest, NullRecordsEndTheProcess) {
  const auto fatal = [](const std::string& function) {
    return Lines{mailbox_log(8, "ENTER " + function), mailbox_log(3, "udata is NULL! Exiting!")};
  };
  EXPECT_FATAL(parser().HTTP_Parser_Mailbox_List_fn(nullptr, nullptr), fatal(kFolders));
  EXPECT_FATAL(parser().HTTP_Parser_Folder_Passwords_List_fn(nullptr, nullptr),
               fatal(kJobDirectories));
  EXPECT_FATAL(parser().HTTP_Parser_Job_Passwords_List_fn(nullptr, nullptr), fatal(kJobs));
}

// The end in full words: the log names the line of the allocation, the standard error stream the
// next one.
struct EndInFullWords {
  using is_gtest_matcher = void;

  bool MatchAndExplain(const std::string& text, std::ostream* /*listener*/) const {
    const std::string place = std::string(kJobs) + ", http_mailbox.cpp:";
    const std::size_t found = text.find(place);
    if (found == std::string::npos) return false;
    const int line = std::stoi(text.substr(found + place.size()));
    return line > 0 &&
           text.ends_with("log " + mailbox_log(3, "QALLOCN() failed, exiting from " + place) +
                          std::to_string(line) + "\n*** http exit (status = 1)  " + kJobs +
                          ",http_mailbox.cpp:" + std::to_string(line + 1) + "\r\n");
  }
  void DescribeTo(std::ostream* out) const { *out << "ends in full words"; }
  void DescribeNegationTo(std::ostream* out) const { *out << "does not end in full words"; }
};

TEST_F(MailboxListingDeathTest, ANameWithoutMemoryEndsTheProcessInFullWords) {
  scripted_store().files = {"a.KTP"};
  Request request;
  EXPECT_EXIT(
      {
        journal().echo();
        fail_allocation(1, Allocator::module);
        parser().HTTP_Parser_Job_Passwords_List_fn(request.record(), Argument("john"));
      },
      testing::ExitedWithCode(1), testing::Matcher<const std::string&>(EndInFullWords()));
}

}  // namespace
