// Tests of which forms may be posted, with which fields and for which templates.
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "policy.h"

namespace platen {
namespace {

using Fields = std::vector<Field>;

constexpr char kSet[] = "/form/HTTP_Parser_Set_fn";
constexpr char kCopy[] = "/form/HTTP_Parser_Copy_fn";
constexpr char kDelete[] = "/form/HTTP_Parser_Delete_fn";
constexpr char kRestore[] = "/form/HTTP_Parser_Restore_Defaults_fn";
constexpr char kPin[] = "/form/HTTP_Parser_Verify_Mbox_Password_fn";
constexpr char kJobPassword[] = "/form/HTTP_Parser_Verify_Job_Password_fn";
constexpr char kWebFile[] = "/tmp/template/pool/web/A.KTP";
const std::string kPool = "/tmp/template/pool/";

std::vector<FormField> form_fields(const Fields& fields) {
  std::vector<FormField> posted;
  for (const auto& [name, value] : fields) {
    FormField field;
    field.name = name;
    field.value = value;
    posted.push_back(field);
  }
  return posted;
}

// "STATUS FIELD: TEXT", or "" when the form may be sent.
std::string refusal(std::string_view form, const Fields& fields, Role role = Role::administrator) {
  const auto refused = refuse_form(*find_form(form), form_fields(fields), role);
  if (!refused) return "";
  return std::to_string(refused->status) + " " + refused->field + ": " + refused->text;
}

Fields joined(Fields first, const Fields& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

// The fields of an upload.
std::vector<FormField> uploaded(const std::string& pool, const std::string& name) {
  std::vector<FormField> fields = form_fields({{"file", "x"}, {"pool", pool}, {"name", name}});
  fields[0].is_file = true;
  return fields;
}

const Fields kRun = {{"ServiceName", "s"},   {"InvocationName", "i"}, {"AttributeName", "a"},
                     {"AttributeType", "t"}, {"AttributeValue", "v"}, {"Compulsory", "TRUE"},
                     {"was", "{}"},          {"Action", "update"}};

TEST(FormPolicy, KnowsEachFormAndItsLeastRole) {
  const std::pair<std::string_view, Role> rows[] = {
      {kSet, Role::user},
      {kCopy, Role::user},
      {kDelete, Role::user},
      {kRestore, Role::administrator},
      {"/do/upload", Role::user},
      {"/do/rename", Role::user},
      {"/do/login", Role::anonymous},
      {"/do/logout", Role::anonymous},
      {"/do/password", Role::user},
      {"/do/account", Role::administrator},
      {"/do/language", Role::anonymous},
      {kPin, Role::anonymous},
      {kJobPassword, Role::anonymous},
      {"/form/HTTP_Parser_Mbox_Set_Pass_SA_fn", Role::administrator},
      {"/form/HTTP_Parser_Mbox_Set_Pass_Usr_fn", Role::anonymous},
      {"/do/job", Role::anonymous},
      {"/do/folder", Role::administrator},
      {"/do/mailbox-settings", Role::administrator},
  };
  for (const auto& [path, role] : rows) {
    ASSERT_NE(find_form(path), nullptr) << path;
    EXPECT_EQ(find_form(path)->role, role) << path;
  }
  for (const std::string_view path : {"", "/form/", "/do/", "/form/HTTP_Open_Parser_fn",
                                      "/form/HTTP_Parser_set_fn", "/do/login/", "do/login"}) {
    EXPECT_EQ(find_form(path), nullptr) << path;
  }
}

TEST(FormPolicy, LetsGoodFormsThrough) {
  const Fields source = {{"ParserFilename", kWebFile}};
  const std::pair<std::string_view, Fields> rows[] = {
      {kSet, source},
      {kSet, {{"DefaultParserFilename", kWebFile}, {"token", "t"}, {"NextPage", "//x"}}},
      {kSet, joined(source, joined(kRun, kRun))},
      {kSet, joined(source, {{"CopyParserFilename", std::string(222, 'x') + ".KTP"}})},
      {kCopy, joined(source, {{"CopyParserFilename", "a \"b\"\\.KTP"}, {"replace", "yes"}})},
      {kDelete, source},
      {"/do/rename", joined(source, {{"NewName", "B.KTP"}})},
      {"/do/login", {{"name", ""}, {"password", std::string(128, 'x')}}},
      {"/do/logout", {}},
      {"/do/password", {{"old", "x"}, {"new", "y"}, {"repeat", "z"}}},
      {"/do/account", {{"what", "add"}, {"name", "x"}, {"role", "user"}}},
      {"/do/account", {{"what", "reset"}, {"name", "x"}}},
      {"/do/language", {{"language", "de-de"}}},
  };
  for (const auto& [form, fields] : rows) EXPECT_EQ(refusal(form, fields, Role::user), "") << form;
}

TEST(FormPolicy, RefusesWhatAFieldMayNotHold) {
  const std::tuple<std::string_view, Field, std::string> rows[] = {
      {kSet, {"loginName", "x"}, "is not known to this form; leave it out"},
      {kSet, {"NewName", "B.KTP"}, "is not known to this form; leave it out"},
      {kSet,
       {"ParserFilename", ""},
       "is not below a template pool; it begins with /tmp/template/pool/ or /tarn/template/pool/"},
      {kSet,
       {"ParserFilename", "/tmp/template/pool//web/A.KTP"},
       "is not in its shortest form; leave out \"..\", \".\" and needless slashes"},
      {kSet, {"ParserFilename", std::string(kWebFile) + "|O_RDWR"}, "holds the character \"|\""},
      {kSet, {"CopyParserFilename", ""}, "is no name of a template; it ends in .KTP"},
      {kSet, {"CopyParserFilename", ".KTP"}, "begins with a dot; such files are hidden"},
      {kSet, {"CopyParserFilename", "a..KTP"}, "holds \"..\""},
      {kSet, {"CopyParserFilename", "x/B.KTP"}, "holds a slash; give a name only"},
      {kSet, {"CopyParserFilename", "A.KTP|B.KTP"}, "holds the character \"|\""},
      {kSet, {"CopyParserFilename", "A\n.KTP"}, "holds a control character"},
      {kSet, {"CopyParserFilename", std::string("A\0.KTP", 6)}, "holds a NUL byte"},
      {kSet,
       {"CopyParserFilename", std::string(223, 'x') + ".KTP"},
       "is too long; it has at most 226 bytes"},
      {kSet,
       {"CopyParserFilenameMailbox", std::string(218, 'x') + ".KTP"},
       "is too long; it has at most 221 bytes"},
      {kSet, {"Action", "drop"}, "is none of the words it may be: update delete"},
      {kSet, {"Action", "e d"}, "is none of the words it may be: update delete"},
      {kSet, {"Compulsory", ""}, "is none of the words it may be: TRUE FALSE"},
      {kSet, {"replace", "no"}, "is none of the words it may be: yes"},
      {"/do/login", {"password", "a\tb"}, "holds a control character"},
      {"/do/login", {"password", std::string(129, 'x')}, "is too long; it has at most 128 bytes"},
      {"/do/account", {"role", "anonymous"}, "is none of the words it may be: user administrator"},
  };
  for (const auto& [form, field, fault] : rows) {
    EXPECT_EQ(refusal(form, {field}),
              "422 " + field.first + ": The field \"" + field.first + "\" " + fault + ".");
  }
}

TEST(FormPolicy, RefusesAnUploadedFile) {
  std::vector<FormField> fields = form_fields({{"ParserFilename", kWebFile}});
  fields[0].is_file = true;
  EXPECT_EQ(refuse_form(*find_form(kDelete), fields, Role::user)->text,
            "The field \"ParserFilename\" is a file; this form takes none.");
}

TEST(FormPolicy, TakesAFileOfAnyBytesOnlyWhereTheFieldIsOne) {
  constexpr FieldRule kFileField[] = {{"upload", Kind::file, 5}};
  const FormRule form = {"/do/upload", Role::user, Act::none, kFileField, {}, {}};
  std::vector<FormField> fields = form_fields({{"upload", std::string("\0\xFF\r\n|", 5)}});
  EXPECT_EQ(refuse_form(form, fields, Role::user)->text,
            "The field \"upload\" is no file; choose one.");
  fields[0].is_file = true;
  EXPECT_FALSE(refuse_form(form, fields, Role::user));
  fields[0].value += 'x';
  EXPECT_EQ(refuse_form(form, fields, Role::user)->text,
            "The field \"upload\" is too long; it has at most 5 bytes.");
}

TEST(FormPolicy, RefusesAFieldGivenTwiceAndARunThatIsNotClosed) {
  const Fields source = {{"ParserFilename", kWebFile}};
  EXPECT_EQ(refusal(kSet, joined(source, source)),
            "422 ParserFilename: The field \"ParserFilename\" is given twice; give it once.");
  EXPECT_EQ(refusal(kSet, joined(source, joined({{"ServiceName", "x"}}, kRun))),
            "422 ServiceName: The field \"ServiceName\" is given twice; give it once.");
  EXPECT_EQ(refusal(kSet, joined(source, joined(kRun, {{"ServiceName", "x"}}))),
            "422 ServiceName: The field \"ServiceName\" stands in an edit that no field \"Action\" "
            "closes; add it.");
}

TEST(FormPolicy, WantsOneSourceAndOneDestination) {
  const Field source = {"ParserFilename", kWebFile};
  const Field other_source = {"DefaultParserFilename", kWebFile};
  const Field web = {"CopyParserFilename", "B.KTP"};
  const Field mailbox = {"CopyParserFilenameMailbox", "B.KTP"};
  EXPECT_EQ(refusal(kSet, {}),
            "422 ParserFilename: The field \"ParserFilename\" is missing; fill it in.");
  EXPECT_EQ(refusal(kSet, {other_source, source}),
            "422 DefaultParserFilename: The field \"DefaultParserFilename\" does not go with "
            "\"ParserFilename\"; give one of the two.");
  EXPECT_EQ(refusal(kCopy, {source}),
            "422 CopyParserFilename: The field \"CopyParserFilename\" is missing; fill it in.");
  EXPECT_EQ(refusal(kSet, {source, web, mailbox}),
            "422 CopyParserFilenameMailbox: The field \"CopyParserFilenameMailbox\" does not go "
            "with \"CopyParserFilename\"; give one of the two.");
  EXPECT_EQ(refusal(kDelete, {}),
            "422 ParserFilename: The field \"ParserFilename\" is missing; fill it in.");
  EXPECT_EQ(refusal("/do/password", {{"old", "x"}, {"new", "y"}}),
            "422 repeat: The field \"repeat\" is missing; fill it in.");
}

TEST(FormPolicy, ProtectsThePools) {
  const std::string system = " is for everybody: only an administrator may change it.";
  const std::string factory = " is as shipped and never changes; copy it and change the copy.";
  const std::string folder =
      " belongs to a mailbox folder: it goes, or gets another name, with its folder on the page of "
      "the mailbox settings.";
  const std::string stays = "\"default.ktp\" is the default template: it stays where it is.";
  struct Row {
    std::string_view form;
    std::string path;
    std::string for_user;
    std::string for_administrator;
  };
  const Row rows[] = {
      {kSet, kPool + "A.KTP", "", ""},
      {kSet, kPool + "mailbox/A.KTP", "403 \"A.KTP\"" + system, ""},
      {kDelete, kPool + "mailbox/A.KTP", "422 \"A.KTP\"" + folder, "422 \"A.KTP\"" + folder},
      {kSet, kPool + "system/A.KTP", "403 \"A.KTP\"" + system, ""},
      {kSet, kPool + "system/default.ktp", "403 \"default.ktp\"" + system, ""},
      {kSet, kPool + "factory/A.KTP", "422 \"A.KTP\"" + factory, "422 \"A.KTP\"" + factory},
      {kSet, "/tarn/template/pool/factory/A.KTP", "422 \"A.KTP\"" + factory,
       "422 \"A.KTP\"" + factory},
      {kDelete, kPool + "system/A.KTP", "403 \"A.KTP\"" + system, ""},
      {kDelete, kPool + "system/default.ktp", "422 " + stays, "422 " + stays},
      {kDelete, kPool + "factory/A.KTP", "422 \"A.KTP\"" + factory, "422 \"A.KTP\"" + factory},
      {kDelete, kPool + "systems/A.KTP", "", ""},
  };
  for (const Row& row : rows) {
    for (const auto& [role, expected] : {std::pair(Role::user, row.for_user),
                                         std::pair(Role::administrator, row.for_administrator)}) {
      std::string text = refusal(row.form, {{"ParserFilename", row.path}}, role);
      if (!text.empty()) text.erase(4, std::string("ParserFilename: ").size());
      EXPECT_EQ(text, expected) << row.form << " " << row.path;
    }
  }
}

TEST(FormPolicy, LetsEveryTemplateBeCopied) {
  for (const std::string name : {"system/default.ktp", "factory/A.KTP", "A.KTP"}) {
    const Fields fields = {{"ParserFilename", kPool + name}, {"CopyParserFilename", "B.KTP"}};
    EXPECT_EQ(refusal(kCopy, fields, Role::user), "") << name;
    EXPECT_EQ(refusal(kSet, fields, Role::user), "") << name;
  }
}

TEST(FormPolicy, RefusesACopyOntoItselfAndARenameElsewhere) {
  EXPECT_EQ(refusal(kCopy, {{"ParserFilename", kWebFile}, {"CopyParserFilename", "A.KTP"}}),
            "422 CopyParserFilename: The new name is that of the template itself; choose another.");
  EXPECT_EQ(refusal("/do/rename", {{"ParserFilename", kWebFile}, {"NewName", "A.KTP"}}),
            "422 NewName: The new name is that of the template itself; choose another.");
  for (const std::string name : {"system/A.KTP", "factory/A.KTP", "A.KTP", "web/sub/A.KTP"}) {
    EXPECT_EQ(refusal("/do/rename", {{"ParserFilename", kPool + name}, {"NewName", "B.KTP"}}),
              "422 ParserFilename: The field \"ParserFilename\" names no template of the web pool; "
              "only those get other names here.");
  }
}

TEST(FormPolicy, RestoresBareNamesOfTheFactoryPoolOnly) {
  const Field source = {"ParserFilename", "A.KTP"};
  const Field system = {"CopyParserFilename", "B.KTP"};
  const std::string name = "422 ParserFilename: The field \"ParserFilename\" ";
  const std::pair<Fields, std::string> rows[] = {
      {{source, system}, ""},
      {{source, system, {"replace", "yes"}, {"NextPage", "/x"}}, ""},
      {{source, {"CopyParserFilename", "A.KTP"}}, ""},
      {{source, {"CopyParserFilename", "DEFAULT.KTP"}}, ""},
      {{source, {"CopyParserFilenameMailbox", "default.KTP"}}, ""},
      {{{"ParserFilename", "default.ktp"}, system}, ""},
      {{{"ParserFilename", std::string(223, 'x') + ".KTP"}, system}, ""},
      {{{"ParserFilename", std::string(224, 'x') + ".KTP"}, system},
       name + "is too long; it has at most 227 bytes."},
      {{source, {"CopyParserFilename", std::string(225, 'x') + ".KTP"}},
       "422 CopyParserFilename: The field \"CopyParserFilename\" is too long; it has at most 228 "
       "bytes."},
      {{{"ParserFilename", kPool + "factory/A.KTP"}, system},
       name + "holds a slash; give a name only."},
      {{{"ParserFilename", "../web/A.KTP"}, system}, name + "holds a slash; give a name only."},
      {{{"ParserFilename", "..KTP"}, system}, name + "holds \"..\"."},
      {{{"DefaultParserFilename", kWebFile}, system},
       "422 DefaultParserFilename: The field \"DefaultParserFilename\" is not known to this form; "
       "leave it out."},
      {{system}, name + "is missing; fill it in."},
      {{source},
       "422 CopyParserFilename: The field \"CopyParserFilename\" is missing; fill it in."},
      {{source, system, {"CopyParserFilenameMailbox", "B.KTP"}},
       "422 CopyParserFilenameMailbox: The field \"CopyParserFilenameMailbox\" does not go with "
       "\"CopyParserFilename\"; give one of the two."},
      {{source, {"CopyParserFilename", "default.ktp"}},
       "422 CopyParserFilename: \"default.ktp\" is the default template, from which all new jobs "
       "start: it is never replaced. Choose another name."},
  };
  for (const auto& [fields, text] : rows) EXPECT_EQ(refusal(kRestore, fields), text);
}

TEST(FormPolicy, TakesUploadsForPoolsThatTheirSenderMayChange) {
  const auto upload = [](const std::string& pool, const std::string& name, Role role) {
    std::vector<FormField> fields =
        form_fields({{"pool", pool}, {"name", name}, {"file", std::string("\0|", 2)}});
    fields[2].is_file = true;
    const auto refused = refuse_form(*find_form("/do/upload"), fields, role);
    return refused ? std::to_string(refused->status) + " " + refused->field : "";
  };
  struct Row {
    std::string pool;
    std::string name;
    std::string for_user;
    std::string for_administrator;
  };
  const Row rows[] = {
      {"web", "A.KTP", "", ""},
      {"web", "default.ktp", "", ""},
      {"system", "A.KTP", "403 pool", ""},
      {"mailbox", "A.KTP", "403 pool", ""},
      {"system", "default.ktp", "422 name", "422 name"},
      {"factory", "A.KTP", "422 pool", "422 pool"},
      {"web/../factory", "A.KTP", "422 pool", "422 pool"},
      {"", "A.KTP", "422 pool", "422 pool"},
      {"web", "../factory/A.KTP", "422 name", "422 name"},
      {"web", "A.txt", "422 name", "422 name"},
      {"web", std::string(218, 'x') + ".KTP", "422 name", "422 name"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(upload(row.pool, row.name, Role::user), row.for_user) << row.pool << row.name;
    EXPECT_EQ(upload(row.pool, row.name, Role::administrator), row.for_administrator)
        << row.pool << row.name;
  }
  const Fields fields = {{"pool", "mailbox"}, {"name", "B.KTP"}};
  EXPECT_EQ(destination_path(*find_form("/do/upload"), form_fields(fields)),
            kPool + "mailbox/B.KTP");
}

TEST(FormPolicy, LeavesTheFoldersOfTheMailboxToTheAdministrator) {
  const Fields rename = {{"ParserFilename", kPool + "mailbox/A.KTP"}, {"NewName", "B.KTP"}};
  const Fields copy = {{"ParserFilename", kWebFile},
                       {"CopyParserFilenameMailbox", std::string(62, 'x') + ".KTP"}};
  EXPECT_EQ(refusal("/do/rename", rename, Role::administrator),
            "422 ParserFilename: \"A.KTP\" belongs to a mailbox folder: it goes, or gets another "
            "name, with its folder on the page of the mailbox settings.");
  for (const auto form : {kCopy, kSet}) {
    EXPECT_EQ(refusal(form, copy, Role::administrator), "") << form;
    EXPECT_EQ(
        refusal(form, copy, Role::user),
        "403 CopyParserFilenameMailbox: The field \"CopyParserFilenameMailbox\" leads to the "
        "mailbox, whose folders only an administrator makes or replaces; choose another pool.")
        << form;
  }
}

TEST(FormPolicy, MakesMailboxFoldersOfGoodNamesOnly) {
  const std::pair<std::string, std::string> rows[] = {
      {"_PUBLIC.KTP", ""},
      {"_PUBLIC.ktp", "A mailbox folder's template ends in .KTP, in capitals."},
      {"a.Ktp", "A mailbox folder's template ends in .KTP, in capitals."},
      {std::string(63, 'x') + ".KTP", "The folder's name is too long; it has at most 62 bytes."},
      {"a&b.KTP", "The folder's name holds a slash or \"&\"."},
      {"a\"=b.KTP", "The folder's name holds a quote, \"=\" or a backslash."},
  };
  for (const auto& [name, fault] : rows) {
    const auto refused = [&](const char* field) {
      return fault.empty() ? "" : "422 " + std::string(field) + ": " + fault;
    };
    const Fields copy = {{"ParserFilename", kWebFile}, {"CopyParserFilenameMailbox", name}};
    const Fields restore = {{"ParserFilename", "A.KTP"}, {"CopyParserFilenameMailbox", name}};
    for (const auto form : {kCopy, kSet}) {
      EXPECT_EQ(refusal(form, copy), refused("CopyParserFilenameMailbox")) << form;
    }
    EXPECT_EQ(refusal(kRestore, restore), refused("CopyParserFilenameMailbox")) << name;
    const auto upload =
        refuse_form(*find_form("/do/upload"), uploaded("mailbox", name), Role::administrator);
    EXPECT_EQ(upload ? upload->text : "", fault) << name;
    EXPECT_EQ(upload ? upload->field : "name", "name");
    EXPECT_FALSE(refuse_form(*find_form("/do/upload"), uploaded("web", name), Role::user)) << name;
  }
}

TEST(FormPolicy, KnowsWhereACopyGoes) {
  const auto destination = [](std::string_view form, const Fields& fields) {
    return destination_path(*find_form(form), form_fields(fields));
  };
  const Field source = {"ParserFilename", kPool + "mailbox/A.KTP"};
  EXPECT_EQ(destination(kSet, {source}), "");
  EXPECT_EQ(destination(kSet, {source, {"CopyParserFilename", "B.KTP"}}), kPool + "web/B.KTP");
  EXPECT_EQ(destination(kCopy, {{"CopyParserFilenameMailbox", "B.KTP"}}), kPool + "mailbox/B.KTP");
  EXPECT_EQ(destination("/do/rename", {source, {"NewName", "B.KTP"}}), kPool + "mailbox/B.KTP");
  EXPECT_EQ(destination("/do/logout", {}), "");
  EXPECT_EQ(destination(kRestore, {{"CopyParserFilename", "B.KTP"}}), kPool + "system/B.KTP");
  EXPECT_EQ(destination(kRestore, {{"CopyParserFilenameMailbox", "B.KTP"}}),
            kPool + "mailbox/B.KTP");
  EXPECT_EQ(source_path(*find_form(kRestore), form_fields({{"ParserFilename", "A.KTP"}})),
            kPool + "factory/A.KTP");
}

TEST(FormPolicy, WithholdsSecretsAndTokens) {
  for (const char* name : {"old", "new", "repeat", "token"}) {
    EXPECT_TRUE(is_withheld(*find_form("/do/password"), name)) << name;
  }
  EXPECT_TRUE(is_withheld(*find_form("/do/login"), "password"));
  EXPECT_FALSE(is_withheld(*find_form("/do/login"), "name"));
  EXPECT_FALSE(is_withheld(*find_form(kSet), "AttributeValue"));
  EXPECT_FALSE(is_withheld(*find_form(kSet), "unknown"));
}

TEST(PagePolicy, KnowsThePagesThatAreNotForEverybody) {
  for (const char* path :
       {"/edit.html", "/copy.html", "/rename.html", "/delete.html", "/password.html"}) {
    EXPECT_EQ(page_role(path), Role::user) << path;
  }
  EXPECT_EQ(page_role("/upload.html"), Role::user);
  EXPECT_EQ(page_role("/download/template"), Role::user);
  EXPECT_EQ(page_role("/restore.html"), Role::administrator);
  EXPECT_EQ(page_role("/accounts.html"), Role::administrator);
  for (const char* path : {"/", "/index.html", "/pool.html", "/template.html", "/login.html"}) {
    EXPECT_EQ(page_role(path), Role::anonymous) << path;
  }
}

Fields job_fields(const std::string& name, const std::string& value) {
  Fields fields = {{"name", "anna"}, {"subf", "job7.d"}, {"file", "a.pdf"}, {"action", "dnl"}};
  for (Field& field : fields) {
    if (field.first == name) field.second = value;
  }
  return fields;
}

TEST(FormPolicy, LetsGoodMailboxFormsThrough) {
  const Fields all[] = {job_fields("", ""),
                        job_fields("subf", ""),
                        job_fields("action", "del"),
                        job_fields("name", std::string(62, 'x')),
                        job_fields("name", "_PUBLIC"),
                        job_fields("name", "anna's \"=\\\xFF"),
                        job_fields("subf", std::string(63, 'x')),
                        job_fields("file", std::string(255, 'x'))};
  for (const Fields& fields : all) EXPECT_EQ(refusal("/do/job", fields, Role::anonymous), "");
  EXPECT_EQ(refusal(kPin, {{"name", "anna"}, {"pass", ""}, {"sid", "x"}, {"NextPage", "//x"}}), "");
  EXPECT_EQ(refusal(kJobPassword, joined(job_fields("action", "opn"), {{"pass", "p"}})), "");
}

TEST(FormPolicy, RefusesNamesThatWouldLeadToOtherFolders) {
  const std::pair<Fields, std::string> rows[] = {
      {job_fields("name", ""), "422 name: The field \"name\" is empty."},
      {job_fields("name", ".."), "422 name: The field \"name\" holds \"..\"."},
      {job_fields("name", "a..b"), "422 name: The field \"name\" holds \"..\"."},
      {job_fields("name", "."),
       "422 name: The field \"name\" begins with a dot; such files are hidden."},
      {job_fields("name", "a/b"), "422 name: The field \"name\" holds a slash or \"&\"."},
      {job_fields("name", "a&b"), "422 name: The field \"name\" holds a slash or \"&\"."},
      {job_fields("name", "a|O_RDWR"), "422 name: The field \"name\" holds the character \"|\"."},
      {job_fields("name", "a\nb"), "422 name: The field \"name\" holds a control character."},
      {job_fields("name", std::string(63, 'x')),
       "422 name: The field \"name\" is too long; it has at most 62 bytes."},
      {job_fields("subf", "../bert/job9.d"),
       "422 subf: The field \"subf\" holds a slash or \"&\"."},
      {job_fields("subf", std::string(64, 'x')),
       "422 subf: The field \"subf\" is too long; it has at most 63 bytes."},
      {job_fields("file", "../../x"), "422 file: The field \"file\" holds a slash or \"&\"."},
      {job_fields("file", ""), "422 file: The field \"file\" is empty."},
      {job_fields("action", "opn"),
       "422 action: The field \"action\" is none of the words it may be: dnl del."},
      {joined(job_fields("", ""), {{"ParserFilename", kWebFile}}),
       "422 ParserFilename: The field \"ParserFilename\" is not known to this form; leave it out."},
  };
  for (const auto& [fields, text] : rows) EXPECT_EQ(refusal("/do/job", fields), text);
  EXPECT_EQ(refusal(kJobPassword, {{"name", "anna"}, {"file", "a"}, {"action", "opn"}}),
            "422 pass: The field \"pass\" is missing; fill it in.");
}

TEST(FormPolicy, KeepsPinsFromFoldersWhoseNamesTheSettingsCannotHold) {
  constexpr char kSetPin[] = "/form/HTTP_Parser_Mbox_Set_Pass_SA_fn";
  const auto fields = [](const std::string& name) {
    return Fields{{"saUser", name}, {"saPasswd", "1\"2"}, {"repeat", "1\"2"}};
  };
  for (const std::string good : {"anna", "Anna B. (2)", "\xC3\xA4", "a;b"}) {
    EXPECT_EQ(refusal(kSetPin, fields(good)), "") << good;
  }
  for (const std::string bad :
       {"a\"b", "a'b", "a=b", "a\\b", "a&b", "a|b", "a/b", "a\tb", "_PUBLIC", ""}) {
    EXPECT_NE(refusal(kSetPin, fields(bad)), "") << bad;
  }
  EXPECT_EQ(refusal("/do/folder", {{"what", "rename"}, {"name", "a'b"}, {"newName", "a'b"}}),
            "422 newName: The field \"newName\" holds a quote, \"=\" or a backslash.");
}

}  // namespace
}  // namespace platen
