// The upkeep of the mailbox templates: every line and call in its order, whatever fails.
// SPDX-License-Identifier: MIT
#include <tuple>

#include "calls_fixture.h"
#include "mailbox_lines.h"

namespace {

constexpr char kUpkeep[] = "HTTP_Parser_Update_Templates_fn";
constexpr char kPool[] = "/tmp/template/pool/mailbox/";
constexpr char kPublic[] = "/tmp/template/pool/mailbox/_PUBLIC.KTP";
constexpr char kCopy[] =
    "CopyCKwtTemplate('/tmp/template/pool/factory/MAILBOX.KTP', "
    "'/tmp/template/pool/mailbox/_PUBLIC.KTP')";
constexpr char kReload[] = R"(services[templatePool].localUpdating="TRUE")";

using Upkeep = ModuleCalls;
using Prompts = ModuleCalls;
using UpkeepDeathTest = ModuleCalls;

Lines key_built(const std::string& name) {
  return {entering("PrivBuildMboxCfgString"),
          logged(102, "Built mailbox config string of 'scanToMailbox." + name + "'."),
          leaving("PrivBuildMboxCfgString")};
}

Lines setting_read(const std::string& name) {
  return joined({key_built(name), {"Cfg_GetBoolAttrValue('scanToMailbox." + name + "')"}});
}

Lines setting_missed(const std::string& name) {
  return joined({setting_read(name),
                 {logged(5, "Cfg Srv - No value found for 'scanToMailbox." + name + "'.")}});
}

const Lines kSettingsRead =
    joined({setting_read("promptOnPrivateScan"), setting_read("publicPasswordEnabled"),
            setting_read("scanToPublic")});
const Lines kFlagCleared =
    joined({key_built("webUpdate"), {"Cfg_SetBoolAttrValue('scanToMailbox.webUpdate', 0)"}});
const Lines kPoolRead = {"CKwtPool()", "SetPath('/tmp/template/pool/mailbox/')", "Refresh()",
                         "GetTemplateList()"};
const Lines kReloadSent = {"log 9 configapi.h:344 ConfigUpdate: context:" + std::string(kReload),
                           sent_update(kReload), "ipc_free_message(0, reply)"};

Lines path_built(const std::string& name) {
  return {support_logged(102, "Built full template path of '" + std::string(kPool) + name + "'.")};
}

Lines folder_asked(const std::string& folder) {
  return joined({{support_logged(102, "Have main template name of '" + folder + "'.")},
                 password_asked(folder)});
}

Lines prompts_removed(const std::string& path) {
  return joined({opening(path, 2),
                 {"DeleteService(tpl, 'qvn_dscrpt_metadata')",
                  logged(102, "Removed meta data service from '" + path + "'."),
                  "DeleteAttribute(tpl, 'qvn_document', 'UserData')"},
                 closing(1)});
}

std::string prompt_written(const std::string& attribute, const std::string& type,
                           const std::string& value) {
  return "WriteAttributeFromStringUseFirst(tpl, 'qvn_dscrpt_metadata', 'new1', '" + attribute +
         "', '" + type + "', '" + value + "', 1, 0)";
}

const std::string kCreated = "CreateMetaDataInvocation(tpl, '', 1000)";
const Lines kFolderPassword = {
    kCreated,
    prompt_written("MetaDataPrompt", "string", "Enter Password for Folder"),
    prompt_written("MetaDataFieldName", "string", "S2M_FOLDER_PASSWORD"),
    prompt_written("MetaDataRequiredEntry", "boolean", "TRUE"),
    prompt_written("MetaDataMaskingRequired", "enum_metadatamaskingrequired", "MASK_AND_OMIT"),
    prompt_written("MetaDataValidationRequired", "boolean", "TRUE"),
    prompt_written("MetaDataType", "string", "string")};
const Lines kJobPassword = {
    kCreated,
    prompt_written("MetaDataPrompt", "string", "Enter Password for Job"),
    prompt_written("MetaDataFieldName", "string", "S2M_JOB_PASSWORD"),
    prompt_written("MetaDataRequiredEntry", "boolean", "TRUE"),
    prompt_written("MetaDataMaskingRequired", "enum_metadatamaskingrequired", "MASK_ONLY"),
    prompt_written("MetaDataType", "string", "string")};
const Lines kDocumentName = {kCreated,
                             prompt_written("MetaDataPrompt", "string", "Enter Document Name"),
                             prompt_written("MetaDataFieldName", "string", "DOC_OBJECT_NAME"),
                             prompt_written("MetaDataRequiredEntry", "boolean", "TRUE"),
                             prompt_written("MetaDataType", "string", "string")};

Lines private_prompts(const std::string& path) {
  return joined({opening(path, 0), kFolderPassword, closing(1)});
}

Lines public_prompts(const std::string& path) {
  return joined({opening(path, 0), kJobPassword, kDocumentName, closing(1)});
}

struct Settings {
  const char* prompt_on_private_scan = "1";
  const char* public_password_enabled = "0";
  const char* scan_to_public = "1";
};

void use_settings(const Settings& settings) {
  scripted_device().settings = {
      {"scanToMailbox.promptOnPrivateScan", settings.prompt_on_private_scan},
      {"scanToMailbox.publicPasswordEnabled", settings.public_password_enabled},
      {"scanToMailbox.scanToPublic", settings.scan_to_public}};
}

// Runs the upkeep without a page. Returns what the journal holds between the reading of the
// settings and the clearing of the flag.
Lines upkeep() {
  Request request;
  request->outfs = nullptr;
  journal().clear();
  parser().HTTP_Parser_Update_Templates_fn(request.record(), nullptr);
  const Lines& lines = journal().lines();
  const std::size_t around = kSettingsRead.size() + kFlagCleared.size() + 2;
  EXPECT_EQ(part(lines, 1, kSettingsRead.size()), kSettingsRead);
  EXPECT_EQ(part(lines, lines.size() - kFlagCleared.size() - 1, kFlagCleared.size()), kFlagCleared);
  EXPECT_EQ(lines.front(), entering(kUpkeep));
  EXPECT_EQ(lines.back(), leaving(kUpkeep));
  return part(lines, 1 + kSettingsRead.size(), lines.size() - around);
}

TEST_F(Upkeep, OfAPrivateFolderPromptsForItsPassword) {
  scripted_store().files = {"_PUBLIC.KTP", "john.KTP"};
  use_settings({"1", "1", "1"});
  scripted_device().settings["scanToMailbox.john.password"] = "1";
  const std::string path = kPool + std::string("john.KTP");
  EXPECT_EQ(upkeep(), joined({kPoolRead,
                              path_built("_PUBLIC.KTP"),
                              prompts_removed(kPublic),
                              public_prompts(kPublic),
                              path_built("john.KTP"),
                              folder_asked("john"),
                              prompts_removed(path),
                              private_prompts(path),
                              {"DestructorCKwtPool()"}}));
}

TEST_F(Upkeep, OfAPrivateFolderThatDoesNotPromptRemovesOnly) {
  scripted_store().files = {"_PUBLIC.KTP", "john.KTP"};
  use_settings({"0", "1", "1"});
  scripted_device().settings["scanToMailbox.john.password"] = "1";
  const std::string path = kPool + std::string("john.KTP");
  const Lines lines = upkeep();
  const Lines end = joined({folder_asked("john"), prompts_removed(path), {"DestructorCKwtPool()"}});
  EXPECT_EQ(part(lines, lines.size() - end.size(), end.size()), end);
}

TEST_F(Upkeep, OfAPublicFolderPromptsForTheJob) {
  const std::string path = kPool + std::string("john.KTP");
  const std::tuple<const char*, Lines> rows[] = {{"1", public_prompts(path)}, {"0", Lines{}}};
  for (const auto& [enabled, prompts] : rows) {
    scripted_store().files = {"_PUBLIC.KTP", "john.KTP"};
    use_settings({"1", enabled, "1"});
    const Lines lines = upkeep();
    const Lines end = joined({folder_asked("john"),
                              {not_retrieved(password_key("john"))},
                              prompts_removed(path),
                              prompts,
                              {"DestructorCKwtPool()"}});
    EXPECT_EQ(part(lines, lines.size() - end.size(), end.size()), end) << enabled;
  }
}

TEST_F(Upkeep, OfThePublicTemplateWithoutPromptsAsksForNoReload) {
  scripted_store().files = {"_PUBLIC.KTP"};
  use_settings({});
  EXPECT_EQ(upkeep(), joined({kPoolRead,
                              path_built("_PUBLIC.KTP"),
                              prompts_removed(kPublic),
                              {"DestructorCKwtPool()"}}));
}

TEST_F(Upkeep, WithoutAPublicFolderDeletesItsTemplate) {
  const std::tuple<int, std::string> rows[] = {
      {1, logged(6, "Removed default public template.")},
      {0, logged(5, "Unable to remove default public template!")}};
  for (const auto& [deleted, line] : rows) {
    scripted_store().files = {"_PUBLIC.KTP"};
    scripted_store().results["DeleteCKwtTemplateWFilename"] = {deleted};
    use_settings({"1", "1", "0"});
    EXPECT_EQ(upkeep(),
              joined({kPoolRead,
                      path_built("_PUBLIC.KTP"),
                      {"DeleteCKwtTemplateWFilename('" + std::string(kPublic) + "')", line},
                      kReloadSent,
                      {"DestructorCKwtPool()"}}));
  }
}

TEST_F(Upkeep, MakesAMissingPublicTemplate) {
  use_settings({"1", "1", "1"});
  EXPECT_EQ(upkeep(), joined({kPoolRead,
                              {kCopy},
                              public_prompts(kPublic),
                              {logged(6, "Default public template created.")},
                              kReloadSent,
                              {"DestructorCKwtPool()"}}));
  use_settings({"1", "0", "1"});
  EXPECT_EQ(upkeep(), joined({kPoolRead,
                              {kCopy, logged(6, "Default public template created.")},
                              kReloadSent,
                              {"DestructorCKwtPool()"}}));
}

TEST_F(Upkeep, SaysThatItMadeATemplateThatCouldNotBeCopied) {
  scripted_store().results["CopyCKwtTemplate"] = {KWTERR_FILE_OPEN};
  use_settings({"1", "1", "1"});
  EXPECT_EQ(upkeep(),
            joined({kPoolRead,
                    {kCopy, logged(5, "Could not copy mailbox template to public default!"),
                     logged(6, "Default public template created.")},
                    kReloadSent,
                    {"DestructorCKwtPool()"}}));
}

TEST_F(Upkeep, WithoutAPublicFolderOrItsTemplateDoesNothing) {
  use_settings({"1", "1", "0"});
  EXPECT_EQ(upkeep(), joined({kPoolRead, {"DestructorCKwtPool()"}}));
}

TEST_F(Upkeep, TakesOtherSpellingsOfThePublicNameForFolders) {
  scripted_store().files = {"_public.KTP"};
  use_settings({"1", "0", "0"});
  const std::string path = kPool + std::string("_public.KTP");
  EXPECT_EQ(upkeep(), joined({kPoolRead,
                              path_built("_public.KTP"),
                              folder_asked("_public"),
                              {not_retrieved(password_key("_public"))},
                              prompts_removed(path),
                              {"DestructorCKwtPool()"}}));
}

TEST_F(Upkeep, OfAnUnreadablePoolClearsTheFlag) {
  scripted_store().results["Refresh"] = {0};
  use_settings({"1", "1", "1"});
  EXPECT_EQ(upkeep(), (Lines{"CKwtPool()", "SetPath('/tmp/template/pool/mailbox/')", "Refresh()",
                             "DestructorCKwtPool()"}));
  EXPECT_EQ(scripted_device().settings["scanToMailbox.webUpdate"], "0");
}

TEST_F(Upkeep, WithoutSettingsUsesTheirDefaults) {
  scripted_store().files = {"john.KTP", "free.KTP"};
  scripted_device().settings["scanToMailbox.john.password"] = "1";
  const std::string john = kPool + std::string("john.KTP");
  const std::string free = kPool + std::string("free.KTP");
  Request request;
  request->outfs = nullptr;
  parser().HTTP_Parser_Update_Templates_fn(request.record(), Argument("not used"));
  EXPECT_EQ(journal().lines(), joined({{entering(kUpkeep)},
                                       setting_missed("promptOnPrivateScan"),
                                       setting_missed("publicPasswordEnabled"),
                                       setting_missed("scanToPublic"),
                                       kPoolRead,
                                       path_built("john.KTP"),
                                       folder_asked("john"),
                                       prompts_removed(john),
                                       private_prompts(john),
                                       path_built("free.KTP"),
                                       folder_asked("free"),
                                       {not_retrieved(password_key("free"))},
                                       prompts_removed(free),
                                       {kCopy, logged(6, "Default public template created.")},
                                       kReloadSent,
                                       {"DestructorCKwtPool()"},
                                       kFlagCleared,
                                       {leaving(kUpkeep)}}));
}

TEST_F(Upkeep, ThatCannotClearTheFlagSaysSo) {
  scripted_device().locked = {"scanToMailbox.webUpdate"};
  use_settings({"1", "0", "0"});
  Request request;
  parser().HTTP_Parser_Update_Templates_fn(request.record(), nullptr);
  const Lines& lines = journal().lines();
  EXPECT_EQ(part(lines, lines.size() - 2, 2),
            (Lines{logged(5, "Cfg Srv - Was unable to set value for 'scanToMailbox.webUpdate'."),
                   leaving(kUpkeep)}));
}

TEST_F(Upkeep, WhoseReloadIsRefusedSaysSo) {
  scripted_device().reply_status = 1;
  use_settings({});
  const Lines lines = upkeep();
  EXPECT_EQ(part(lines, lines.size() - 2, 2),
            (Lines{logged(5,
                          "Cfg Srv - Was unable to set value for "
                          "'services[templatePool].localUpdating'."),
                   "DestructorCKwtPool()"}));
}

// ---- One template. ----

// What one of the template functions did on a template of that path.
Lines done_on(void (*function)(QVN_AppData*, char*), const std::string& path) {
  Request request;
  request->outfs = nullptr;
  journal().clear();
  function(request.record(), Argument(path));
  EXPECT_EQ(request->parserTemplate, nullptr);
  return journal().lines();
}

TEST_F(Prompts, AreAddedEachToItsInvocation) {
  EXPECT_EQ(done_on(parser().PrivMetaDataAddPassForPrivate, kPublic), private_prompts(kPublic));
  EXPECT_EQ(done_on(parser().PrivMetaDataAddPassForPublic, kPublic), public_prompts(kPublic));
}

TEST_F(Prompts, WithoutTheirInvocationAreLeftOut) {
  for (const int result : {0, 2, -1}) {
    scripted_store().results["CreateMetaDataInvocation"] = {result, result, 1};
    EXPECT_EQ(done_on(parser().PrivMetaDataAddPassForPrivate, kPublic),
              joined({opening(kPublic, 0), {kCreated}, closing(1)}));
    EXPECT_EQ(done_on(parser().PrivMetaDataAddPassForPublic, kPublic),
              joined({opening(kPublic, 0), {kCreated}, kDocumentName, closing(1)}));
  }
}

TEST_F(Prompts, GoOnAfterAWriteThatFails) {
  scripted_store().results["WriteAttributeFromStringUseFirst"] = {0, 0, 0, 0, 0, 0, 0, 0, 0};
  EXPECT_EQ(done_on(parser().PrivMetaDataAddPassForPublic, kPublic), public_prompts(kPublic));
}

TEST_F(Prompts, AreRemovedThroughAnOpenForWriting) {
  EXPECT_EQ(done_on(parser().PrivMetaDataRemoveAll, kPublic), prompts_removed(kPublic));
}

TEST_F(Prompts, OfATemplateThatCannotBeOpenedAreLeftAlone) {
  scripted_store().results["Open"] = {0};
  scripted_store().error_after_open = KWTERR_FILE_OPEN;
  done_on(parser().PrivMetaDataRemoveAll, kPublic);
  EXPECT_EQ(journal().calls(),
            (Lines{"CKwtTemplate(tpl)", "Open(tpl, '" + std::string(kPublic) + "', 2)",
                   "GetFileName(tpl)", "Close(tpl, 1)", "DestructorCKwtTemplate(tpl)"}));
}

TEST_F(Prompts, AreRemovedFromTheLongestPath) {
  const std::string start = "/tmp/template/pool/mailbox/";
  for (const std::size_t length : {246U, 247U, 248U, 249U, 254U}) {
    const std::string path = padded(start, length);
    done_on(parser().PrivMetaDataRemoveAll, path);
    EXPECT_EQ(part(journal().calls(), 1, 2),
              (Lines{"Open(tpl, '" + path + "', " + (length <= 248 ? "2" : "0") + ")",
                     "DeleteService(tpl, 'qvn_dscrpt_metadata')"}));
  }
}

TEST_F(Prompts, OfANewPublicTemplateAreAskedForByTheNumberOne) {
  for (const bool_t asked_for : {1, 0, 2}) {
    Request request;
    request->outfs = nullptr;
    journal().clear();
    parser().PrivMakeDefaultPublicTemplate(request.record(), asked_for);
    EXPECT_EQ(journal().lines(),
              joined({{kCopy}, asked_for == 1 ? public_prompts(kPublic) : Lines{}}));
  }
}

TEST_F(UpkeepDeathTest, ANullRecordEndsTheProcess) {
  EXPECT_FATAL(parser().HTTP_Parser_Update_Templates_fn(nullptr, nullptr),
               (Lines{mailbox_log(8, "ENTER " + std::string(kUpkeep)),
                      mailbox_log(3, "inUdata is NULL! Exiting!")}));
}

}  // namespace
