// The mailbox functions over the real store: jobs in the spool, and templates before and after the
// upkeep.
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "allocations.h"
#include "loaded_module.h"
#include "mailbox_lines.h"
#include "real_store.h"
#include "scripted_device.h"

namespace {

constexpr char kSpool[] = "/var/spool/nc/image_store/s2mailbox/";
constexpr char kPool[] = "/tmp/template/pool/mailbox/";
constexpr char kPublic[] = "/tmp/template/pool/mailbox/_PUBLIC.KTP";
constexpr char kFactory[] = "/tmp/template/pool/factory/MAILBOX.KTP";

class Spool : public ModuleFiles {
 protected:
  static void make_directory(const std::string& name) {
    std::filesystem::create_directories(real_path(kSpool + name));
  }

  // Lays a job's log down, in a directory of its own when the name has one.
  static void write_job(const std::string& name, const std::string& password) {
    make_directory(std::filesystem::path(name).parent_path());
    write_template(kSpool + name, {{"qvn_dscrpt_metadata", "MetaDataValue", "string", {password}}});
  }

  // The rows that a listing prints, sorted.
  static Lines rows(void (*listing)(QVN_AppData*, char*), const std::string& folder) {
    const ExpectedLeak names_that_a_listing_keeps;
    Request request;
    journal().clear();
    listing(request.record(), Argument(folder));
    Lines printed = journal().prints();
    std::sort(printed.begin(), printed.end());
    return printed;
  }

  static std::string row(const std::string& job, const std::string& password) {
    return "\t$gJobPasswords['" + job + "']\t= '" + password + "';\n";
  }
};

TEST_F(Spool, HoldsJobsInDirectoriesAndInLogs) {
  write_job("box1/job7.d/job7.KTP", "1234");
  write_job("box1/job.8.d/job.8.KTP", "");
  write_job("box1/plain/.KTP", "unnamed");
  write_job("box1/other.d/wrong name.KTP", "1");
  write_job("box1/flat.KTP", "flat");
  write_template(kSpool + std::string("box1/free.KTP"), {{"svc", "a", "string", {"v"}}});
  make_directory("box1/empty.d");
  write_job("elsewhere/linked.d/linked.KTP", "linked");
  std::filesystem::create_directory_symlink(real_path(kSpool + std::string("elsewhere/linked.d")),
                                            real_path(kSpool + std::string("box1/linked.d")));
  EXPECT_EQ(
      rows(parser().HTTP_Parser_Folder_Passwords_List_fn, "box1"),
      (Lines{row("", "unnamed"), row("job.8", ""), row("job7", "1234"), row("linked", "linked")}));
  EXPECT_EQ(rows(parser().HTTP_Parser_Job_Passwords_List_fn, "box1"), (Lines{row("flat", "flat")}));
}

TEST_F(Spool, WithoutJobsPrintsNothing) {
  make_directory("empty");
  EXPECT_EQ(rows(parser().HTTP_Parser_Folder_Passwords_List_fn, "empty"), Lines{});
  EXPECT_EQ(rows(parser().HTTP_Parser_Job_Passwords_List_fn, "empty"), Lines{});
  EXPECT_EQ(rows(parser().HTTP_Parser_Job_Passwords_List_fn, "missing"), Lines{});
}

TEST_F(Spool, OfNobodyIsThePublicOne) {
  write_job("_PUBLIC/a.d/a.KTP", "1");
  for (const char* folder : {"", "../box1", "a..b"}) {
    EXPECT_EQ(rows(parser().HTTP_Parser_Folder_Passwords_List_fn, folder), (Lines{row("a", "1")}));
  }
}

TEST_F(Spool, SkipsJobsWhosePathDoesNotFit) {
  const std::size_t folder = std::string(kSpool).size() + std::string("box1/").size();
  for (const std::size_t item : {249U, 250U, 253U, 254U, 255U}) {
    write_job("box1/" + padded("", item - folder - 1) + "/.KTP", std::to_string(item));
  }
  EXPECT_EQ(rows(parser().HTTP_Parser_Folder_Passwords_List_fn, "box1"), (Lines{row("", "249")}));
}

TEST_F(Spool, IsReadJobByJob) {
  write_job("box1/job7.d/job7.KTP", "1");
  rows(parser().HTTP_Parser_Folder_Passwords_List_fn, "box1");
  const std::string folder = kSpool + std::string("box1/");
  const std::string path = folder + "/job7.d/job7.KTP";
  EXPECT_EQ(
      journal().logs(),
      (Lines{mailbox_log(8, "ENTER HTTP_Parser_Folder_Passwords_List_fn"),
             support_log(102, "Have argument of 'box1'."),
             mailbox_log(102, "Built path of '" + folder + "' for mailbox output files."),
             support_log(102, "Have main template name of 'job7'."), entered("HTTP_Open_Parser_fn"),
             parser_log(102, "Allocing memory for udata->parserTemplate."),
             parser_log(102, "template file path = " + path),
             parser_log(100, "HTTP_Open_Parser_fn Successful."), left("HTTP_Open_Parser_fn"),
             entered("HTTP_Close_Parser_fn"), parser_log(100, "HTTP_Close_Parser_fn Successful."),
             left("HTTP_Close_Parser_fn"),
             mailbox_log(8, "EXIT HTTP_Parser_Folder_Passwords_List_fn")}));
}

TEST_F(Spool, OpensAJobToItsPassword) {
  write_job("box1/job7/job7.KTP", "1234");
  write_job("box1/flat.KTP", "flat");
  const struct {
    const char* subf;
    const char* file;
    const char* password;
    const char* page;
  } cases[] = {{"job7.d", "scan.pdf", "1234", "/mailbox/action.php"},
               {"job7", "scan.pdf", "1234", "/mailbox/action.php"},
               {"", "flat.pdf", "flat", "/mailbox/do_action.php"},
               {"", "flat.pdf", "FLAT", "/mailbox/action.php"},
               {"", "none.pdf", "", "/mailbox/action.php"}};
  for (const auto& one : cases) {
    Request request{{"NextPage", ""},   {"name", "box1"},       {"subf", one.subf},
                    {"file", one.file}, {"pass", one.password}, {"action", "del"}};
    request->outfs = nullptr;
    EXPECT_EQ(parser().HTTP_Parser_Verify_Job_Password_fn(request.record(), nullptr, 0), 0);
    EXPECT_TRUE(std::string(request.entries()[0].val).starts_with(one.page + std::string("?")))
        << one.subf << " " << one.file << " " << request.entries()[0].val;
  }
}

// ---- Upkeep. ----

class MailboxTemplates : public ModuleFiles {
 protected:
  void SetUp() override {
    ModuleFiles::SetUp();
    write_template(kFactory, {{"qvn_svc_general", "JobTemplateName", "string", {"Mailbox"}}});
    for (const char* folder : {"free", "john"}) {
      write_template(path(folder), {{"qvn_svc_general", "JobTemplateName", "string", {folder}},
                                    {"qvn_dscrpt_metadata", "MetaDataPrompt", "string", {"old"}},
                                    {"qvn_document", "UserData", "string", {"data"}},
                                    {"qvn_document", "Kept", "string", {"kept"}},
                                    {"fax", "PhoneNumber", "string", {"1", "2"}}});
    }
    write_bytes(path("john"), "# Made by hand.\n\n" + bytes(path("john")) + "# The end.\n");
    scripted_device().settings[password_key("john")] = "1234";
  }

  static std::string path(const std::string& folder) { return kPool + folder + ".KTP"; }

  static void use(const std::string& setting, const std::string& value) {
    scripted_device().settings["scanToMailbox." + setting] = value;
  }

  static void upkeep() {
    Request request;
    request->outfs = nullptr;
    parser().HTTP_Parser_Update_Templates_fn(request.record(), nullptr);
    EXPECT_EQ(journal().page(), "");
  }

  // The names of the fields that a template prompts for.
  static Values prompts(const std::string& folder) {
    Values names;
    for (const std::string& field : invocations(path(folder), "qvn_dscrpt_metadata")) {
      names.push_back(
          stored(path(folder), "qvn_dscrpt_metadata", "MetaDataFieldName", field).at(0));
    }
    return names;
  }

  static Values all_bytes() { return {bytes(path("free")), bytes(path("john")), bytes(kPublic)}; }
};

const Values kForJob = {"S2M_JOB_PASSWORD", "DOC_OBJECT_NAME"};
const Values kForFolder = {"S2M_FOLDER_PASSWORD"};

TEST_F(MailboxTemplates, HoldThePromptsThatTheSettingsAskFor) {
  for (const char* prompt : {"1", "0"}) {
    for (const char* password : {"1", "0"}) {
      use("promptOnPrivateScan", prompt);
      use("publicPasswordEnabled", password);
      upkeep();
      const Values for_job = password == std::string("1") ? kForJob : Values{};
      EXPECT_EQ(prompts("john"), prompt == std::string("1") ? kForFolder : Values{});
      EXPECT_EQ(prompts("free"), for_job);
      EXPECT_EQ(prompts("_PUBLIC"), for_job);
    }
  }
}

TEST_F(MailboxTemplates, AreTheSameAfterASecondRun) {
  for (const char* prompt : {"1", "0"}) {
    for (const char* password : {"1", "0"}) {
      for (const char* to_public : {"1", "0"}) {
        use("promptOnPrivateScan", prompt);
        use("publicPasswordEnabled", password);
        use("scanToPublic", to_public);
        upkeep();
        const Values once = all_bytes();
        upkeep();
        EXPECT_EQ(all_bytes(), once) << prompt << password << to_public;
        EXPECT_EQ(once[2] == "(none)", to_public == std::string("0"));
      }
    }
  }
}

TEST_F(MailboxTemplates, ComeBackWhenTheSettingsDo) {
  use("publicPasswordEnabled", "1");
  upkeep();
  const Values before = all_bytes();
  use("publicPasswordEnabled", "0");
  use("promptOnPrivateScan", "0");
  upkeep();
  EXPECT_NE(all_bytes(), before);
  use("publicPasswordEnabled", "1");
  use("promptOnPrivateScan", "1");
  upkeep();
  EXPECT_EQ(all_bytes(), before);
}

TEST_F(MailboxTemplates, KeepWhatIsNoPrompt) {
  use("publicPasswordEnabled", "1");
  upkeep();
  for (const char* folder : {"free", "john"}) {
    EXPECT_EQ(stored(path(folder), "qvn_document", "UserData"), Values{});
    EXPECT_EQ(stored(path(folder), "qvn_document", "Kept"), (Values{"kept"}));
    EXPECT_EQ(stored(path(folder), "fax", "PhoneNumber"), (Values{"1", "2"}));
  }
  EXPECT_TRUE(bytes(path("john")).starts_with("# Made by hand.\n"));
  EXPECT_NE(bytes(path("john")).find("# The end.\n"), std::string::npos);
}

TEST_F(MailboxTemplates, HoldEveryAttributeOfAPrompt) {
  use("publicPasswordEnabled", "1");
  upkeep();
  const std::string service = "qvn_dscrpt_metadata";
  const auto value = [&](const char* folder, std::size_t field, const char* attribute) {
    const Values found =
        stored(path(folder), service, attribute, invocations(path(folder), service).at(field));
    return found.size() == 1 ? found[0] : "(none)";
  };
  EXPECT_EQ(value("john", 0, "MetaDataPrompt"), "Enter Password for Folder");
  EXPECT_EQ(value("john", 0, "MetaDataMaskingRequired"), "MASK_AND_OMIT");
  EXPECT_EQ(value("john", 0, "MetaDataValidationRequired"), "TRUE");
  EXPECT_EQ(value("_PUBLIC", 0, "MetaDataPrompt"), "Enter Password for Job");
  EXPECT_EQ(value("_PUBLIC", 0, "MetaDataMaskingRequired"), "MASK_ONLY");
  EXPECT_EQ(value("_PUBLIC", 0, "MetaDataValidationRequired"), "(none)");
  EXPECT_EQ(value("_PUBLIC", 1, "MetaDataPrompt"), "Enter Document Name");
  EXPECT_EQ(value("_PUBLIC", 1, "MetaDataMaskingRequired"), "(none)");
  EXPECT_EQ(value("_PUBLIC", 1, "MetaDataType"), "string");
}

TEST_F(MailboxTemplates, OfThePublicFolderAreTheFactorys) {
  upkeep();
  EXPECT_EQ(bytes(kPublic), bytes(kFactory));
}

TEST_F(MailboxTemplates, ThatAreBrokenStayAndStopNothing) {
  write_bytes(path("a broken one"), "\x01 no template at all\n");
  upkeep();
  EXPECT_EQ(bytes(path("a broken one")), "\x01 no template at all\n");
  EXPECT_EQ(prompts("john"), kForFolder);
}

}  // namespace
