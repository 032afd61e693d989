// The update handler and the multi-value save: checks, edits and records, with every store call.
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <tuple>

#include "calls_fixture.h"

namespace {

constexpr char kSet[] = "HTTP_Parser_Set_fn";
constexpr char kPath[] = "/tmp/template/pool/web/A.KTP";
constexpr char kDefaultTemplate[] = "/tmp/template/pool/system/default.ktp";
constexpr char kStamp[] =
    "WriteAttributeEnumWInvoc(tpl, 'qvn_svc_general', NULL, 'enum_KLV', 'KLVDefinitionUsed', 13)";

using UpdateChecks = ModuleCalls;
using UpdateGathering = ModuleCalls;
using Update = ModuleCalls;
using DeleteEdit = ModuleCalls;
using UpdateResult = ModuleCalls;
using ListSave = ModuleCalls;
using UpdateDeathTest = ModuleCalls;

int set(Request& request) {
  return parser().HTTP_Parser_Set_fn(request.record(), request.entries(), request.count());
}

// A form that edits one template: its path, then the given runs.
Fields post(const Fields& runs) {
  Fields fields = {{"ParserFilename", kPath}};
  fields.insert(fields.end(), runs.begin(), runs.end());
  return fields;
}

// A whole update run of one attribute.
Fields update(const std::string& attribute, const std::string& type, const std::string& value) {
  return {{"ServiceName", "svc"},  {"InvocationName", "inv"}, {"AttributeName", attribute},
          {"AttributeType", type}, {"AttributeValue", value}, {"Action", "update"}};
}

Fields removal(const std::string& attribute, const std::string& values) {
  return {{"ServiceName", "svc"},
          {"InvocationName", "inv"},
          {"AttributeName", attribute},
          {"AttributeValue", values},
          {"Action", "delete"}};
}

Fields both(Fields one, const Fields& other) {
  one.insert(one.end(), other.begin(), other.end());
  return one;
}

// Store calls of the edits alone: between the open and the stamp, both of which must be there.
Lines edits() {
  const Lines calls = journal().calls();
  const Lines start = {"CKwtTemplate(tpl)", "Open(tpl, '" + std::string(kPath) + "', 0)"};
  const Lines end = {kStamp, "GetFileName(tpl)", "Close(tpl, 1)", "DestructorCKwtTemplate(tpl)"};
  if (calls.size() < start.size() + end.size()) return {"too few calls"};
  const auto first = calls.begin() + static_cast<long>(start.size());
  const auto last = calls.end() - static_cast<long>(end.size());
  EXPECT_EQ(Lines(calls.begin(), first), start);
  EXPECT_EQ(Lines(last, calls.end()), end);
  return {first, last};
}

// Log lines of the edits alone: between the open's EXIT and the close's ENTER.
Lines edit_logs() {
  const Lines logs = journal().logs();
  const auto first = std::find(logs.begin(), logs.end(), left("HTTP_Open_Parser_fn"));
  const auto last = std::find(logs.begin(), logs.end(), entered("HTTP_Close_Parser_fn"));
  if (first == logs.end() || last == logs.end()) return {"no open or no close"};
  return {first + 1, last};
}

// ---- Checks. ----

TEST_F(UpdateChecks, WithoutEditsStampsAndSaves) {
  Request request(post({}));
  EXPECT_EQ(set(request), 0);
  EXPECT_EQ(journal().lines(), joined({{"log " + entered(kSet)},
                                       opening(kPath, 0),
                                       {kStamp},
                                       closing(1, hidden_field(kPath)),
                                       {"log " + left(kSet)}}));
  EXPECT_EQ(request.reason(), "");
  EXPECT_EQ(request->parserTemplate, nullptr);
}

TEST_F(UpdateChecks, RefuseBeforeAnythingIsOpened) {
  const std::string too_long = "*** Filesize exceeded!";
  const std::string copy_too_long = "Copy parser file length exceeded!";
  const auto name = [](std::size_t length) { return std::string(length, 'n'); };
  const std::tuple<Fields, Lines> rows[] = {
      {{{"ParserFilename", name(256)}, {"DefaultParserFilename", kPath}}, {too_long}},
      {{{"ParserFilename", kPath}, {"DefaultParserFilename", name(256)}}, {too_long}},
      {{{"ParserFilename", name(256)}, {"ParserFilename", kPath}}, {too_long}},
      {{{"ParserFilename", kPath}, {"CopyParserFilename", name(227)}}, {copy_too_long, too_long}},
      {{{"ParserFilename", kPath}, {"CopyParserFilename", name(255)}}, {copy_too_long, too_long}},
      {{{"ParserFilename", kPath}, {"CopyParserFilename", name(256)}}, {too_long}},
      {{{"ParserFilename", kPath}, {"CopyParserFilenameMailbox", name(222)}},
       {copy_too_long, too_long}},
      {{{"ParserFilename", kPath}, {"CopyParserFilenameMailbox", name(255)}},
       {copy_too_long, too_long}},
      {{{"ParserFilename", kPath}, {"CopyParserFilenameMailbox", name(256)}}, {too_long}},
      {{{"Action", "update"}}, {"filename = NULL!", "dfilename == NULL!"}},
      {{{"ParserFilename", kDefaultTemplate}},
       {"HTTP_Parser_Set called on default template without logging in!"}},
      {{{"DefaultParserFilename", kDefaultTemplate}},
       {"filename = NULL!", "HTTP_Parser_Set called on default template without logging in!"}},
      {{{"ParserFilename", ""}}, {"*** NULL filename!"}},
      {{{"ParserFilename", ""}, {"DefaultParserFilename", kPath}}, {"*** NULL filename!"}},
  };
  for (const auto& [fields, texts] : rows) {
    SCOPED_TRACE(fields.back().name + "=" + fields.back().value);
    Request request(fields);
    journal().clear();
    EXPECT_EQ(set(request), 1);
    Lines expected = {"log " + entered(kSet)};
    for (const std::string& text : texts) expected.push_back("log " + parser_log(3, text));
    expected.push_back("log " + left(kSet));
    EXPECT_EQ(journal().lines(), expected);
    EXPECT_EQ(request.reason(), "");
  }
}

TEST_F(UpdateChecks, PathOf255BytesIsAccepted) {
  const std::string path = padded("/tmp/template/pool/", 255);
  Request request{{"ParserFilename", path}};
  EXPECT_EQ(set(request), 0);
  EXPECT_EQ(journal().calls().at(1), "Open(tpl, '" + path + "', 0)");
}

TEST_F(UpdateChecks, DefaultFieldNamesTheTemplateWhenTheOtherIsAbsent) {
  Request request{{"DefaultParserFilename", kPath}};
  EXPECT_EQ(set(request), 0);
  EXPECT_EQ(journal().logs().at(1), parser_log(3, "filename = NULL!"));
  EXPECT_EQ(journal().calls().at(1), "Open(tpl, '" + std::string(kPath) + "', 0)");
}

TEST_F(UpdateChecks, DefaultTemplateNeedsALoginNameEvenAnEmptyOne) {
  char nobody[] = "";
  Request request{{"ParserFilename", kDefaultTemplate}};
  request->loginName = nobody;
  EXPECT_EQ(set(request), 0);
}

TEST_F(UpdateChecks, AnotherSpellingOfTheDefaultTemplateIsNotCaught) {
  for (const char* path :
       {"/tmp/template/pool/system//default.ktp", "/tmp/template/pool/system/default.ktp/"}) {
    Request request{{"ParserFilename", path}};
    EXPECT_EQ(set(request), 0);
  }
}

TEST_F(UpdateChecks, PathThatMayNotBeOpenedIsEditedByNobody) {
  // The open refuses it and leaves an unopened object; the store answers for that.
  Request request{{"ParserFilename", "/etc/passwd"}};
  EXPECT_EQ(set(request), 0);
  EXPECT_EQ(journal().calls(), (Lines{"CKwtTemplate(tpl)", kStamp, "GetFileName(tpl)",
                                      "Close(tpl, 1)", "DestructorCKwtTemplate(tpl)"}));
}

TEST_F(UpdateChecks, CopyNamesFitUpToTheirBounds) {
  const std::tuple<const char*, const char*, std::size_t> rows[] = {
      {"CopyParserFilename", "/tmp/template/pool/web/", 226},
      {"CopyParserFilenameMailbox", "/tmp/template/pool/mailbox/", 221}};
  for (const auto& [field, directory, length] : rows) {
    const std::string path = directory + std::string(length, 'n');
    Request request{{"ParserFilename", kPath}, {field, std::string(length, 'n')}};
    journal().clear();
    EXPECT_EQ(set(request), 0);
    EXPECT_EQ(journal().logs().at(1), parser_log(102, "cfilename = " + path));
    EXPECT_EQ(journal().logs().at(2), entered("HTTP_Parser_Copy_fn"));
    EXPECT_EQ(journal().calls().front(),
              "CopyCKwtTemplate('" + std::string(kPath) + "', '" + path + "')");
  }
}

TEST_F(UpdateChecks, CopyIsMadeNamedAndThenEdited) {
  Request request(both({{"ParserFilename", kPath}, {"CopyParserFilename", "B.KTP"}},
                       update("Name", "string", "x")));
  EXPECT_EQ(set(request), 0);
  const std::string copy = "/tmp/template/pool/web/B.KTP";
  EXPECT_EQ(
      journal().calls(),
      (Lines{"CopyCKwtTemplate('" + std::string(kPath) + "', '" + copy + "')", "CKwtTemplate(tpl)",
             "Open(tpl, '" + copy + "', 2)", naming_call("B.KTP"), "GetFileName(tpl)",
             "Close(tpl, 1)", "DestructorCKwtTemplate(tpl)", "CKwtTemplate(tpl)",
             "Open(tpl, '" + copy + "', 0)",
             "WriteAttributeFromStringUseFirst(tpl, 'svc', 'inv', 'Name', 'string', 'x', 1, 0)",
             kStamp, "GetFileName(tpl)", "Close(tpl, 1)", "DestructorCKwtTemplate(tpl)"}));
}

TEST_F(UpdateChecks, CopyIsMadeFromTheLaterPathButCheckedByTheOther) {
  Request request{{"ParserFilename", kPath},
                  {"DefaultParserFilename", kDefaultTemplate},
                  {"CopyParserFilename", "B.KTP"}};
  EXPECT_EQ(set(request), 0);
  EXPECT_EQ(journal().calls().front(), "CopyCKwtTemplate('" + std::string(kDefaultTemplate) +
                                           "', '/tmp/template/pool/web/B.KTP')");
}

TEST_F(UpdateChecks, CopyOutsideThePoolsIsRefused) {
  Request request{{"ParserFilename", kPath}, {"CopyParserFilename", "../x"}};
  EXPECT_EQ(set(request), 1);
  EXPECT_EQ(journal().lines(),
            (Lines{"log " + entered(kSet),
                   "log " + parser_log(102, "cfilename = /tmp/template/pool/web/../x"),
                   "log " + parser_log(3, "*** Invalid template path!"), "log " + left(kSet)}));
}

TEST_F(UpdateChecks, FailedCopyEndsThePost) {
  scripted_store().results["CopyCKwtTemplate"] = {KWTERR_FILE_OPEN};
  Request request{{"ParserFilename", kPath}, {"CopyParserFilename", "c"}};
  EXPECT_EQ(set(request), 1);
  EXPECT_EQ(journal().calls().size(), 1U);
  const Lines logs = journal().logs();
  EXPECT_EQ(Lines(logs.end() - 3, logs.end()),
            (Lines{left("HTTP_Parser_Copy_fn"),
                   parser_log(3, "HTTP_Parser_Copy_fn returned error!"), left(kSet)}));
  EXPECT_EQ(request.reason(), "Couldn't Copy Template from: " + std::string(kPath) +
                                  " to /tmp/template/pool/web/c.\r\n");
}

TEST_F(UpdateChecks, EmptySourceMayBeCopied) {
  Request request{{"ParserFilename", ""}, {"CopyParserFilename", "c"}};
  EXPECT_EQ(set(request), 0);
  EXPECT_EQ(journal().calls().front(), "CopyCKwtTemplate('', '/tmp/template/pool/web/c')");
}

// ---- Gathering. ----

TEST_F(UpdateGathering, TakesTheFieldsOfARunInAnyOrderAndTheLastOfAName) {
  Request request(post({{"AttributeValue", "old"},
                        {"Compulsory", "TRUE"},
                        {"AttributeName", "Name"},
                        {"AttributeValue", "new"},
                        {"AttributeType", "string"},
                        {"InvocationName", "inv"},
                        {"servicename", "no"},
                        {"ServiceName", "svc"},
                        {"Action", "update"},
                        {"ServiceName", "ignored"}}));
  EXPECT_EQ(set(request), 0);
  EXPECT_EQ(edits(),
            (Lines{"WriteAttributeFromStringUseFirst(tpl, 'svc', 'inv', 'Name', 'string', 'new', "
                   "1, 1)"}));
}

TEST_F(UpdateGathering, StartsEachRunAfresh) {
  Request request(post(both(update("Name", "string", "x"), {{"Compulsory", "true"},
                                                            {"ServiceName", "other"},
                                                            {"Action", "update"},
                                                            {"ServiceName", "third"},
                                                            {"Compulsory", "True"},
                                                            {"AttributeValue", "v"},
                                                            {"Action", "update"}})));
  scripted_store().results["CreateInvocationWSize"] = {0, 0};
  EXPECT_EQ(set(request), 0);
  EXPECT_EQ(
      edits(),
      (Lines{"WriteAttributeFromStringUseFirst(tpl, 'svc', 'inv', 'Name', 'string', 'x', 1, 0)",
             "CreateInvocationWSize(tpl, 'other', 1000)",
             "CreateInvocationWSize(tpl, 'third', 1000)",
             "WriteAttributeFromStringUseFirst(tpl, 'third', NULL, NULL, NULL, 'v', 1, 0)"}));
}

TEST_F(UpdateGathering, TakesNullAndEmptyAsNotGiven) {
  for (const char* absent : {"NULL", ""}) {
    scripted_store().results["CreateInvocationWSize"] = {0};
    Request request(post({{"ServiceName", "svc"},
                          {"InvocationName", absent},
                          {"AttributeName", absent},
                          {"AttributeType", absent},
                          {"AttributeValue", absent},
                          {"Action", "update"}}));
    journal().clear();
    EXPECT_EQ(set(request), 0);
    EXPECT_EQ(edits(), (Lines{"CreateInvocationWSize(tpl, 'svc', 1000)",
                              "WriteAttributeFromStringUseFirst(tpl, 'svc', NULL, '', NULL, '', 1, "
                              "0)"}));
  }
}

TEST_F(UpdateGathering, ActionWithoutAServiceSavesTheTemplateUnedited) {
  for (const Fields& run : {Fields{{"AttributeName", "Name"}, {"Action", "update"}},
                            Fields{{"ServiceName", "NULL"}, {"Action", "update"}},
                            Fields{{"ServiceName", ""}, {"Action", "delete"}}}) {
    Request request(post(both(update("Name", "string", "x"), run)));
    journal().clear();
    EXPECT_EQ(set(request), 1);
    EXPECT_EQ(journal().calls(),
              (Lines{"CKwtTemplate(tpl)", "Open(tpl, '" + std::string(kPath) + "', 0)",
                     "GetFileName(tpl)", "Close(tpl, 1)", "DestructorCKwtTemplate(tpl)"}));
    EXPECT_EQ(request.reason(), "Service name not found");
    EXPECT_EQ(journal().logs().back(), left(kSet));
    EXPECT_EQ(request->parserTemplate, nullptr);
  }
}

TEST_F(UpdateGathering, MetadataRunsWithoutANameShareOneNewInvocation) {
  Request request(post({{"ServiceName", "qvn_dscrpt_metadata"},
                        {"InvocationName", "NULL"},
                        {"AttributeName", "A"},
                        {"AttributeValue", "1"},
                        {"Action", "update"},
                        {"ServiceName", "qvn_dscrpt_metadata"},
                        {"InvocationName", ""},
                        {"AttributeName", "B"},
                        {"AttributeValue", "2"},
                        {"Action", "update"}}));
  EXPECT_EQ(set(request), 0);
  EXPECT_EQ(edits(), (Lines{"CreateMetaDataInvocation(tpl, '', 1000)",
                            "WriteAttributeFromStringUseFirst(tpl, 'qvn_dscrpt_metadata', 'new1', "
                            "'A', NULL, '1', 1, 0)",
                            "WriteAttributeFromStringUseFirst(tpl, 'qvn_dscrpt_metadata', 'new1', "
                            "'B', NULL, '2', 1, 0)"}));
}

TEST_F(UpdateGathering, FailedMetadataInvocationIsTriedAgainAndItsNameIsEmpty) {
  scripted_store().results["CreateMetaDataInvocation"] = {0, 0};
  const Fields run = {{"ServiceName", "qvn_dscrpt_metadata"},
                      {"InvocationName", "NULL"},
                      {"AttributeName", "A"},
                      {"AttributeValue", "1"},
                      {"Action", "update"}};
  Request request(post(both(run, run)));
  EXPECT_EQ(set(request), 0);
  const std::string write =
      "WriteAttributeFromStringUseFirst(tpl, 'qvn_dscrpt_metadata', '', 'A', NULL, '1', 1, 0)";
  EXPECT_EQ(edits(), (Lines{"CreateMetaDataInvocation(tpl, '', 1000)",
                            "CreateMetaDataInvocation(tpl, '', 1000)", write, write}));
}

TEST_F(UpdateGathering, OnlyAServiceAlreadyNamedMakesAMetadataInvocation) {
  for (const Fields& start :
       {Fields{{"InvocationName", "NULL"}, {"ServiceName", "qvn_dscrpt_metadata"}},
        Fields{{"ServiceName", "qvn_dscrpt_metadata2"}, {"InvocationName", "NULL"}},
        Fields{{"ServiceName", "qvn_dscrpt_metadata"}, {"InvocationName", "own"}}}) {
    Request request(post(both(start, {{"AttributeValue", "1"}, {"Action", "none"}})));
    journal().clear();
    EXPECT_EQ(set(request), 0);
    EXPECT_EQ(edits(), Lines{});
  }
}

TEST_F(UpdateGathering, MetadataInvocationIsSavedThoughALaterRunHasNoService) {
  Request request(post({{"ServiceName", "qvn_dscrpt_metadata"},
                        {"InvocationName", "NULL"},
                        {"Action", "update"},
                        {"Action", "update"}}));
  EXPECT_EQ(set(request), 1);
  EXPECT_EQ(journal().calls().at(2), "CreateMetaDataInvocation(tpl, '', 1000)");
  EXPECT_EQ(journal().calls().at(4), "Close(tpl, 1)");
}

// ---- Updates. ----

TEST_F(Update, WritesOneValueAndLogsIt) {
  Request request(post(both({{"Compulsory", "TRUE"}}, update("Name", "string", "a,b;c"))));
  EXPECT_EQ(set(request), 0);
  EXPECT_EQ(edits(),
            (Lines{"WriteAttributeFromStringUseFirst(tpl, 'svc', 'inv', 'Name', 'string', 'a,b;c', "
                   "1, 1)"}));
  EXPECT_EQ(edit_logs(),
            (Lines{parser_log(101,
                              "Update action: service = 'svc' / att. name = 'Name' / invoc. name = "
                              "'inv' / att. value = 'a,b;c' / compuls = '1'"),
                   parser_log(101,
                              "About to call -> 'WriteAttributeFromStringUseFirst' / compuls = "
                              "'1'")}));
}

TEST_F(Update, WithoutAnInvocationMakesOne) {
  scripted_store().results["CreateInvocationWSize"] = {1, 0};
  const Fields run = {{"ServiceName", "svc"},
                      {"AttributeName", "A"},
                      {"AttributeValue", "1"},
                      {"Action", "update"}};
  Request request(post(both(run, run)));
  EXPECT_EQ(set(request), 0);
  EXPECT_EQ(edits(),
            (Lines{"CreateInvocationWSize(tpl, 'svc', 1000)",
                   "WriteAttributeFromStringUseFirst(tpl, 'svc', 'new1', 'A', NULL, '1', 1, 0)",
                   "CreateInvocationWSize(tpl, 'svc', 1000)",
                   "WriteAttributeFromStringUseFirst(tpl, 'svc', NULL, 'A', NULL, '1', 1, 0)"}));
}

TEST_F(Update, WithoutAValueMakesItsInvocationAndWritesNothing) {
  Request request(post({{"ServiceName", "svc"}, {"AttributeName", "A"}, {"Action", "update"}}));
  EXPECT_EQ(set(request), 0);
  EXPECT_EQ(edits(), (Lines{"CreateInvocationWSize(tpl, 'svc', 1000)"}));
  EXPECT_EQ(edit_logs(),
            (Lines{parser_log(101,
                              "Update action: service = 'svc' / att. name = 'A' / invoc. name = "
                              "'(null)' / att. value = '(null)' / compuls = '0'")}));
}

TEST_F(Update, SplitsPhoneNumbersAndEnumerationsAlone) {
  const auto write = [](const char* name, const char* type, const char* value, int first) {
    return "WriteAttributeFromStringUseFirst(tpl, 'svc', 'inv', '" + std::string(name) + "', '" +
           type + "', '" + value + "', " + std::to_string(first) + ", 0)";
  };
  const std::string phone = "In PhoneNumber section!";
  const std::string comma = "Have value that contains a comma!";
  const std::tuple<Fields, Lines, std::string> rows[] = {
      {update("PhoneNumber", "string", "a;b"),
       {write("PhoneNumber", "string", "a", 1), write("PhoneNumber", "string", "b", 0)},
       phone},
      {update("PhoneNumber", "enum_x", "1,2"), {write("PhoneNumber", "enum_x", "1,2", 1)}, phone},
      {update("PhoneNumber", "string", ""), {}, phone},
      {update("A", "enum_x", "x,y"),
       {write("A", "enum_x", "x", 1), write("A", "enum_x", "y", 0)},
       comma},
      {update("A", "enum_", ",x,,"), {write("A", "enum_", "x", 1)}, comma},
      {update("A", "enum_x", "xy"), {write("A", "enum_x", "xy", 1)}, ""},
      {update("A", "enumx", "x,y"), {write("A", "enumx", "x,y", 1)}, ""},
      {update("A", "Enum_x", "x,y"), {write("A", "Enum_x", "x,y", 1)}, ""},
      {update("phonenumber", "string", "a;b"), {write("phonenumber", "string", "a;b", 1)}, ""},
  };
  for (const auto& [run, writes, log] : rows) {
    Request request(post(run));
    journal().clear();
    EXPECT_EQ(set(request), 0);
    EXPECT_EQ(edits(), writes);
    if (!log.empty()) {
      EXPECT_EQ(edit_logs().at(1), parser_log(101, log));
    }
  }
}

TEST_F(Update, WithACommaButWithoutATypeIsOneValue) {
  Request request(post({{"ServiceName", "svc"},
                        {"InvocationName", "inv"},
                        {"AttributeName", "A"},
                        {"AttributeValue", "x,y"},
                        {"Action", "update"}}));
  EXPECT_EQ(set(request), 0);
  EXPECT_EQ(edits(), (Lines{"WriteAttributeFromStringUseFirst(tpl, 'svc', 'inv', 'A', NULL, "
                            "'x,y', 1, 0)"}));
}

TEST_F(Update, OtherActionsDoNothing) {
  for (const char* action : {"Update", "DELETE", "", "NULL", "rename"}) {
    Request request(post({{"ServiceName", "svc"}, {"AttributeValue", "v"}, {"Action", action}}));
    journal().clear();
    EXPECT_EQ(set(request), 0);
    EXPECT_EQ(edits(), Lines{});
    EXPECT_EQ(edit_logs(), Lines{});
  }
}

// ---- Deletes. ----

TEST_F(DeleteEdit, DeletesWhatTheRunNamesMostClosely) {
  const std::tuple<Fields, Lines, Lines> rows[] = {
      {removal("A", "NULL"),
       {"DeleteAttributeWInvoc(tpl, 'svc', 'inv', 'A')"},
       {"Deleting attribute 'A' of service 'svc'"}},
      {{{"ServiceName", "svc"}, {"AttributeName", "A"}, {"Action", "delete"}},
       {"DeleteAttributeWInvoc(tpl, 'svc', NULL, 'A')"},
       {"Deleting attribute 'A' of service 'svc'"}},
      {removal("NULL", ""),
       {"DeleteAttributeWInvoc(tpl, 'svc', 'inv', '')"},
       {"Deleting attribute '' of service 'svc'"}},
      {{{"ServiceName", "svc"},
        {"InvocationName", "inv"},
        {"AttributeValue", "v"},
        {"Action", "delete"}},
       {"DeleteInvocation(tpl, 'svc', 'inv')"},
       {"Deleting invocation 'inv' of service 'svc'"}},
      {{{"ServiceName", "svc"}, {"Action", "delete"}},
       {"DeleteService(tpl, 'svc')"},
       {"Deleting entire service 'svc'"}},
  };
  for (const auto& [run, calls, texts] : rows) {
    Request request(post(run));
    journal().clear();
    EXPECT_EQ(set(request), 0);
    EXPECT_EQ(edits(), calls);
    const Lines logs = edit_logs();
    ASSERT_EQ(logs.size(), 2U);
    EXPECT_TRUE(
        logs[0].starts_with(parser_log(101, "Delete action: service = 'svc' / att. name = ")));
    EXPECT_EQ(logs[1], parser_log(101, texts[0]));
  }
}

TEST_F(DeleteEdit, RemovesEachListedValue) {
  Request request(post(removal("A", ",a,,b,")));
  EXPECT_EQ(set(request), 0);
  EXPECT_EQ(edits(), (Lines{"RemoveAttributeStringWInvoc(tpl, 'svc', 'inv', 'A', 'a')",
                            "RemoveAttributeStringWInvoc(tpl, 'svc', 'inv', 'A', 'b')"}));
  EXPECT_EQ(edit_logs(),
            (Lines{parser_log(101,
                              "Delete action: service = 'svc' / att. name = 'A' / invoc. name = "
                              "'inv'"),
                   parser_log(101, "Delete value ',a' / attribute 'A' / service 'svc'")}));
}

TEST_F(DeleteEdit, ValueOfCommasRemovesNothing) {
  Request request(post(removal("A", ",,,")));
  EXPECT_EQ(set(request), 0);
  EXPECT_EQ(edits(), Lines{});
}

TEST_F(DeleteEdit, OfMetadataDeletesTheAttributeOrTheInvocation) {
  for (const std::string service : {"qvn_dscrpt_metadata", "qvn_dscrpt_metadata_more"}) {
    const std::tuple<Fields, std::string, std::string> rows[] = {
        {{{"AttributeName", "A"}, {"AttributeValue", "x,y"}},
         "DeleteAttributeWInvoc(tpl, '" + service + "', 'inv', 'A')",
         "DeleteAttributeWInvoc"},
        {{{"AttributeName", "NULL"}},
         "DeleteAttributeWInvoc(tpl, '" + service + "', 'inv', '')",
         "DeleteAttributeWInvoc"},
        {Fields{}, "DeleteMetaDataInvocation(tpl, 'inv')", "DeleteMetaDataInvocation"}};
    for (const auto& [fields, call, text] : rows) {
      const Fields start = both({{"ServiceName", service}, {"InvocationName", "inv"}}, fields);
      Request request(post(both(start, {{"Action", "delete"}})));
      journal().clear();
      EXPECT_EQ(set(request), 0);
      EXPECT_EQ(edits(), Lines{call});
      const Lines logs = edit_logs();
      EXPECT_EQ(Lines(logs.begin() + 1, logs.end()),
                (Lines{parser_log(101, "Deleting something to do with MetaData!"),
                       parser_log(100, text)}));
    }
  }
}

// ---- Results. ----

TEST_F(UpdateResult, FailedStampFailsThePost) {
  scripted_store().results["WriteAttributeEnumWInvoc"] = {FALSE};
  Request request(post({}));
  EXPECT_EQ(set(request), 1);
  EXPECT_EQ(request.reason(), "Couldn't set attribute : ");
  const Lines logs = journal().logs();
  EXPECT_EQ(
      Lines(logs.end() - 3, logs.end()),
      (Lines{left("HTTP_Close_Parser_fn"), parser_log(3, "failedOnce = 0, ret = 0"), left(kSet)}));
}

TEST_F(UpdateResult, FailedWritesAndDeletesAloneAreForgotten) {
  scripted_store().results = {{"WriteAttributeFromStringUseFirst", {FALSE}},
                              {"DeleteAttributeWInvoc", {FALSE}},
                              {"DeleteService", {FALSE}}};
  Request request(post(both(both(update("A", "string", "x"), removal("B", "NULL")),
                            {{"ServiceName", "svc"}, {"Action", "delete"}})));
  EXPECT_EQ(set(request), 0);
  EXPECT_EQ(edits().size(), 3U);
  EXPECT_EQ(request.reason(), "");
}

TEST_F(UpdateResult, RemovalRecordsTheFailureBeforeItUnderItsOwnName) {
  scripted_store().results = {{"WriteAttributeFromStringUseFirst", {FALSE}},
                              {"RemoveAttributeStringWInvoc", {FALSE, TRUE, FALSE}}};
  Request request(
      post(both(update("A", "string", "x"), both(removal("B", "1,2"), removal("C", "3")))));
  EXPECT_EQ(set(request), 1);
  EXPECT_EQ(request.reason(), "Couldn't set attribute : B,B");
  const Lines logs = journal().logs();
  EXPECT_EQ(logs.at(logs.size() - 2), parser_log(3, "failedOnce = 1, ret = 1"));
}

TEST_F(UpdateResult, LastRemovalOfAPostIsNeverRecorded) {
  scripted_store().results["RemoveAttributeStringWInvoc"] = {TRUE, FALSE};
  Request request(post(removal("B", "1,2")));
  EXPECT_EQ(set(request), 0);
}

TEST_F(UpdateResult, RecordedNamesEndWithinTheReason) {
  const std::string start = "Couldn't set attribute : ";
  for (const std::size_t length : {173U, 174U, 175U, 176U, 250U}) {
    scripted_store().results["RemoveAttributeStringWInvoc"] = {FALSE, FALSE, TRUE};
    const std::string name(length, 'B');
    Request request(post(removal(name, "1,2,3")));
    request->queue = reinterpret_cast<Ipc_queue*>(&request);
    EXPECT_EQ(set(request), 1);
    std::string whole = start;
    whole.append(name).append(",").append(name);
    EXPECT_EQ(request.reason(), whole.substr(0, 200));
    EXPECT_EQ(request->queue, reinterpret_cast<Ipc_queue*>(&request));
  }
}

TEST_F(UpdateResult, OldReasonIsClearedBySuccess) {
  Request request(post({}));
  std::snprintf(request->Reason, sizeof(request->Reason), "old");
  EXPECT_EQ(set(request), 0);
  EXPECT_EQ(request.reason(), "");
}

// ---- Multi-value save. ----

// Saves a list of values into the open template of a request.
void save(Request& request, Argument& value, const char* separator) {
  Argument service("svc");
  Argument invocation("inv");
  Argument attribute("Fax");
  Argument type("string");
  HTTP_PARSER_Set_Element element{service, invocation, attribute, type, value, nullptr, TRUE};
  parser().PrivSaveMultiValue(request.record(), &element, Argument(separator));
}

TEST_F(ListSave, WritesTheFirstPieceAsTheFirstValue) {
  Request request;
  open(request);
  Argument value("a;b;c");
  save(request, value, ";");
  const std::string write = "WriteAttributeFromStringUseFirst(tpl, 'svc', 'inv', 'Fax', 'string', ";
  EXPECT_EQ(
      journal().lines(),
      (Lines{"log " + parser_log(101, "Attribute value broken on ';' = a"), write + "'a', 1, 1)",
             "log " + parser_log(101, "Attribute value broken on ';' = b"), write + "'b', 0, 1)",
             "log " + parser_log(101, "Attribute value broken on ';' = c"), write + "'c', 0, 1)",
             "log " + parser_log(101, "Finished multi-value save!")}));
  EXPECT_EQ(value.text(), "a");
}

TEST_F(ListSave, SkipsEmptyPieces) {
  const std::tuple<const char*, const char*, std::vector<std::string>> rows[] = {
      {";;a;;", ";", {"a"}},
      {"x,y", ";", {"x,y"}},
      {"", ";", {}},
      {";;;", ";", {}},
      {"a;b,c", ";,", {"a", "b", "c"}}};
  for (const auto& [text, separator, pieces] : rows) {
    Request request;
    open(request);
    Argument value(text);
    save(request, value, separator);
    EXPECT_EQ(journal().calls().size(), pieces.size());
    for (std::size_t i = 0; i < pieces.size(); ++i) {
      EXPECT_EQ(journal().calls().at(i),
                "WriteAttributeFromStringUseFirst(tpl, 'svc', 'inv', 'Fax', 'string', '" +
                    pieces[i] + "', " + (i == 0 ? "1" : "0") + ", 1)");
    }
    EXPECT_EQ(journal().logs().back(), parser_log(101, "Finished multi-value save!"));
  }
}

TEST_F(ListSave, RecordsEachFailedPieceAndGoesOn) {
  scripted_store().results["WriteAttributeFromStringUseFirst"] = {FALSE, FALSE, TRUE};
  Request request;
  open(request);
  std::snprintf(request->Reason, sizeof(request->Reason), "Couldn't set attribute : ");
  Argument value("a;b;c");
  save(request, value, ";");
  EXPECT_EQ(request.reason(), "Couldn't set attribute : Fax,Fax");
  EXPECT_EQ(journal().calls().size(), 3U);
  EXPECT_EQ(journal().logs(), (Lines{parser_log(101, "Attribute value broken on ';' = a"),
                                     parser_log(3, "Unable to write abbribute = Fax"),
                                     parser_log(101, "Attribute value broken on ';' = b"),
                                     parser_log(3, "Unable to write abbribute = Fax"),
                                     parser_log(101, "Attribute value broken on ';' = c"),
                                     parser_log(101, "Finished multi-value save!")}));
}

TEST_F(ListSave, RecordEndsWithinTheReason) {
  scripted_store().results["WriteAttributeFromStringUseFirst"] = std::deque<int>(100, FALSE);
  Request request;
  open(request);
  request->queue = reinterpret_cast<Ipc_queue*>(&request);
  std::string text;
  std::string names;
  for (int i = 0; i < 100; ++i) text += "v;", names += "Fax,";
  Argument value(text);
  save(request, value, ";");
  EXPECT_EQ(request.reason(), names.substr(0, 200));
  EXPECT_EQ(request->queue, reinterpret_cast<Ipc_queue*>(&request));
}

TEST_F(ListSave, FailedListDoesNotFailThePost) {
  scripted_store().results["WriteAttributeFromStringUseFirst"] = {FALSE, FALSE};
  Request request(post(update("PhoneNumber", "string", "1;2")));
  EXPECT_EQ(set(request), 0);
  EXPECT_EQ(request.reason(), "");
}

// ---- Memory. ----

TEST_F(UpdateResult, KeepsOnlyTheBuffersOfDroppedCopyNames) {
  const std::tuple<Fields, long> rows[] = {
      {post(both(update("A", "string", "x"), removal("B", "1,2"))), 0},
      {{{"ParserFilename", kPath}, {"CopyParserFilename", "../x"}}, 0},
      {{{"ParserFilename", kPath}, {"CopyParserFilename", "../x"}, {"CopyParserFilename", "../y"}},
       1},
      {{{"ParserFilename", std::string(256, 'n')}, {"CopyParserFilename", "x"}}, 1},
      {post({{"Action", "update"}}), 0},
  };
  const ExpectedLeak dropped_names;
  for (const auto& [fields, kept] : rows) {
    Request request(fields);
    scripted_store() = {};
    set(request);  // fills the caches of the test's own tables
    journal().pause();
    const long before = held_blocks();
    for (int turn = 0; turn < 1000; ++turn) set(request);
    EXPECT_EQ(held_blocks() - before, kept * 1000);
    journal().resume();
  }
}

TEST_F(UpdateDeathTest, ExhaustedHeapEndsTheProcessWithTheTextOfItsBuffer) {
  const std::tuple<Fields, const char*> rows[] = {
      {{{"CopyParserFilename", "c"}}, "malloc failed! Exiting!"},
      {{{"CopyParserFilenameMailbox", "c"}}, "malloc failed! Exiting!"},
      {post({{"ServiceName", "svc"}, {"Action", "update"}}), "QALLOCN failed! Exiting!"},
      {post({}), "QALLOCN failed! Exiting!"}};
  for (const auto& [fields, text] : rows) {
    Request request(fields);
    EXPECT_FATAL(fail_allocation(1, Allocator::module);
                 set(request), (Lines{entered(kSet), parser_log(3, text)}));
  }
}

}  // namespace
