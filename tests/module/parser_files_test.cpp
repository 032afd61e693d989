// The module over the real store: what pages show and what is in the files afterwards.
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <tuple>

#include "journal.h"
#include "loaded_module.h"
#include "real_store.h"

namespace {

constexpr char kPath[] = "/tmp/template/pool/web/A.KTP";

using PageRoad = ModuleFiles;
using EditRoad = ModuleFiles;
using FileRoad = ModuleFiles;
using PoolRoad = ModuleFiles;

std::string printed(void (*function)(QVN_AppData*, char*), Request& request,
                    const std::string& argument) {
  journal().clear();
  function(request.record(), Argument(argument));
  return journal().page();
}

int set(Request& request) {
  return parser().HTTP_Parser_Set_fn(request.record(), request.entries(), request.count());
}

std::vector<StoredAttribute> sample() {
  return {{"qvn_svc_general", "JobTemplateName", "string", {"A.KTP"}},
          {"qvn_svc_general", "JobTemplateCreator", "string", {"Office"}},
          {"fax", "PhoneNumber", "string", {"555,1", "556"}},
          {"fax", "Paths", "string", {"x/1", "y/2", "\"q\"\\'"}}};
}

TEST_F(PageRoad, ShowsTheValuesOfAnOpenTemplate) {
  write_template(kPath, sample());
  Request request;
  EXPECT_EQ(printed(parser().HTTP_Open_Parser_fn, request, kPath), "");
  const auto& get = parser().HTTP_Parser_Get_fn;
  const auto& script = parser().HTTP_Parser_JS_Get_fn;
  EXPECT_EQ(printed(get, request, "qvn_svc_general NULL JobTemplateName string"), "A.KTP");
  EXPECT_EQ(printed(get, request, "fax NULL PhoneNumber string"), "555,1;556");
  EXPECT_EQ(printed(get, request, "fax NULL Paths string"), "x/1,y/2,\"q\"\\'");
  EXPECT_EQ(printed(script, request, "fax NULL Paths string"), R"(x\/1,y/2,\"q\"\\\')");
  EXPECT_EQ(printed(get, request, "fax NULL Absent string"), "");
  EXPECT_EQ(printed(get, request, "absent NULL Paths string"), "");
  EXPECT_EQ(printed(get, request, "fax other Paths string"), "");
  EXPECT_EQ(printed(get, request, "NULL NULL Paths string"), "");
  EXPECT_EQ(
      printed(parser().HTTP_Close_Parser_fn, request, "FALSE"),
      "<input type=\"hidden\" name=\"DefaultParserFilename\" value=\"" + real_path(kPath) + "\">");
}

TEST_F(PageRoad, TellsWhatCannotBeOpened) {
  write_bytes("/tmp/template/pool/web/broken.KTP", "\x01 no template at all\n");
  for (const char* path : {"/tmp/template/pool/web/broken.KTP", "/tmp/template/pool/web/none.KTP",
                           "/tmp/template/pool/web"}) {
    Request request;
    printed(parser().HTTP_Open_Parser_fn, request, path);
    EXPECT_EQ(request.reason(), "Template not available : " + std::string(path));
    EXPECT_EQ(printed(parser().HTTP_Parser_Get_fn, request, "svc NULL Name string"), "");
    EXPECT_EQ(printed(parser().HTTP_Parser_List_Invocations_fn, request, "svc"), "");
    EXPECT_EQ(printed(parser().HTTP_Close_Parser_fn, request, "TRUE"), "");
  }
}

TEST_F(PageRoad, ObjectThatWasNeverConstructedIsSafe) {
  Request request{{"ParserFilename", "||"}};
  printed(parser().HTTP_Open_Parser_fn, request, "");
  EXPECT_EQ(printed(parser().HTTP_Parser_Get_fn, request, "svc NULL Name string"), "");
  EXPECT_EQ(parser().TempSuppGetAttributeValue(request.record(), Argument("|"), Argument("svc"),
                                               Argument("Name")),
            nullptr);
  EXPECT_EQ(set(request), 1);
  EXPECT_EQ(request.reason(), "Couldn't set attribute : ");
}

TEST_F(PageRoad, ReadsOneValueOfAFileAndPrintsNothing) {
  write_template(kPath, sample());
  Request request;
  journal().clear();
  EXPECT_STREQ(parser().TempSuppGetAttributeValue(request.record(), Argument(kPath),
                                                  Argument("fax"), Argument("PhoneNumber")),
               "555,1");
  EXPECT_EQ(journal().page(), "");
  EXPECT_EQ(request->parserTemplate, nullptr);
}

// ---- Edits. ----

TEST_F(EditRoad, EditsReachTheFile) {
  write_template(kPath, sample());
  const std::string fax = invocations(kPath, "fax").at(0);
  Request request{{"ParserFilename", kPath},
                  {"ServiceName", "fax"},
                  {"InvocationName", fax},
                  {"AttributeName", "PhoneNumber"},
                  {"AttributeType", "string"},
                  {"AttributeValue", "1,2;;3"},
                  {"Action", "update"},
                  {"ServiceName", "fax"},
                  {"InvocationName", fax},
                  {"AttributeName", "Paths"},
                  {"AttributeValue", "x/1"},
                  {"Action", "delete"},
                  {"ServiceName", "fax"},
                  {"InvocationName", fax},
                  {"AttributeName", "Colours"},
                  {"AttributeType", "enum_c"},
                  {"AttributeValue", "RED,GREEN"},
                  {"Action", "update"},
                  {"ServiceName", "fax"},
                  {"InvocationName", fax},
                  {"AttributeName", "Note"},
                  {"AttributeType", "string"},
                  {"AttributeValue", "a,b"},
                  {"Action", "update"}};
  EXPECT_EQ(set(request), 0);
  EXPECT_EQ(request.reason(), "");
  EXPECT_EQ(stored(kPath, "fax", "PhoneNumber"), (Values{"1,2", "3"}));
  EXPECT_EQ(stored(kPath, "fax", "Paths"), (Values{"y/2", "\"q\"\\'"}));
  EXPECT_EQ(stored(kPath, "fax", "Colours"), (Values{"RED", "GREEN"}));
  EXPECT_EQ(stored(kPath, "fax", "Note"), (Values{"a,b"}));
  EXPECT_EQ(stored(kPath, "qvn_svc_general", "KLVDefinitionUsed"), (Values{"13"}));
}

TEST_F(EditRoad, DeletesReachTheFile) {
  write_template(kPath, sample());
  const std::string fax = invocations(kPath, "fax").at(0);
  Request request{{"ParserFilename", kPath}, {"ServiceName", "fax"},
                  {"InvocationName", fax},   {"AttributeName", "Paths"},
                  {"Action", "delete"},      {"ServiceName", "qvn_svc_general"},
                  {"Action", "delete"}};
  EXPECT_EQ(set(request), 0);
  EXPECT_EQ(stored(kPath, "fax", "Paths"), Values{});
  EXPECT_EQ(stored(kPath, "fax", "PhoneNumber"), (Values{"555,1", "556"}));
  EXPECT_EQ(stored(kPath, "qvn_svc_general", "JobTemplateName"), Values{});
  EXPECT_EQ(stored(kPath, "qvn_svc_general", "KLVDefinitionUsed"), (Values{"13"}));
}

TEST_F(EditRoad, MetadataRunsOfAPostShareOneNewInvocation) {
  write_template(kPath, sample());
  const Fields run = {{"ServiceName", "qvn_dscrpt_metadata"},
                      {"InvocationName", "NULL"},
                      {"AttributeType", "string"}};
  Fields fields = {{"ParserFilename", kPath}};
  for (const char* name : {"MetaDataPrompt", "MetaDataFieldName"}) {
    fields.insert(fields.end(), run.begin(), run.end());
    fields.insert(fields.end(),
                  {{"AttributeName", name}, {"AttributeValue", name}, {"Action", "update"}});
  }
  Request request(fields);
  EXPECT_EQ(set(request), 0);
  EXPECT_EQ(invocations(kPath, "qvn_dscrpt_metadata").size(), 1U);
  EXPECT_EQ(stored(kPath, "qvn_dscrpt_metadata", "MetaDataPrompt"), (Values{"MetaDataPrompt"}));
  EXPECT_EQ(stored(kPath, "qvn_dscrpt_metadata", "MetaDataFieldName"),
            (Values{"MetaDataFieldName"}));
}

TEST_F(EditRoad, RunWithoutAnInvocationMakesANewOne) {
  write_template(kPath, sample());
  Request request{{"ParserFilename", kPath},
                  {"ServiceName", "fax"},
                  {"AttributeName", "Paths"},
                  {"AttributeValue", "new"},
                  {"Action", "update"}};
  EXPECT_EQ(set(request), 0);
  const Values names = invocations(kPath, "fax");
  ASSERT_EQ(names.size(), 2U);
  EXPECT_EQ(stored(kPath, "fax", "Paths", names[1]), (Values{"new"}));
  EXPECT_EQ(stored(kPath, "fax", "Paths", names[0]).size(), 3U);
}

TEST_F(EditRoad, PostWithoutAServiceLeavesTheBytes) {
  write_template(kPath, sample());
  const std::string before = bytes(kPath);
  Request request{{"ParserFilename", kPath}, {"AttributeName", "Paths"}, {"Action", "update"}};
  EXPECT_EQ(set(request), 1);
  EXPECT_EQ(bytes(kPath), before);
}

TEST_F(EditRoad, EmptyPhoneListKeepsTheOldNumbers) {
  write_template(kPath, sample());
  Request request{{"ParserFilename", kPath},
                  {"ServiceName", "fax"},
                  {"InvocationName", invocations(kPath, "fax").at(0)},
                  {"AttributeName", "PhoneNumber"},
                  {"AttributeValue", ""},
                  {"Action", "update"}};
  EXPECT_EQ(set(request), 0);
  EXPECT_EQ(stored(kPath, "fax", "PhoneNumber"), (Values{"555,1", "556"}));
}

TEST_F(EditRoad, EditsOfACopyLeaveItsSource) {
  write_template(kPath, sample());
  const std::string before = bytes(kPath);
  const std::string copy = "/tmp/template/pool/mailbox/B.KTP";
  Request request{{"ParserFilename", kPath}, {"CopyParserFilenameMailbox", "B.KTP"},
                  {"ServiceName", "fax"},    {"InvocationName", invocations(kPath, "fax").at(0)},
                  {"AttributeName", "Note"}, {"AttributeValue", "x"},
                  {"Action", "update"}};
  EXPECT_EQ(set(request), 0);
  EXPECT_EQ(bytes(kPath), before);
  EXPECT_EQ(stored(copy, "fax", "Note"), (Values{"x"}));
  EXPECT_EQ(stored(copy, "qvn_svc_general", "JobTemplateName"), (Values{"B.KTP"}));
}

TEST_F(EditRoad, PathThatMayNotBeOpenedFailsThePost) {
  Request request{{"ParserFilename", "/etc/hostname"}};
  EXPECT_EQ(set(request), 1);
  EXPECT_EQ(request.reason(), "Couldn't set attribute : ");
}

// ---- Whole files. ----

TEST_F(FileRoad, CopyHasItsOwnName) {
  write_template(kPath, sample());
  Request request{{"ParserFilename", kPath}, {"CopyParserFilename", "B.KTP"}};
  EXPECT_EQ(parser().HTTP_Parser_Copy_fn(request.record(), request.entries(), request.count()), 0);
  const std::string copy = "/tmp/template/pool/web/B.KTP";
  EXPECT_EQ(stored(copy, "qvn_svc_general", "JobTemplateName"), (Values{"B.KTP"}));
  EXPECT_EQ(stored(copy, "fax", "PhoneNumber"), (Values{"555,1", "556"}));
  EXPECT_EQ(stored(kPath, "qvn_svc_general", "JobTemplateName"), (Values{"A.KTP"}));
}

TEST_F(FileRoad, FailedCopyLeavesTheDestination) {
  const std::string copy = "/tmp/template/pool/web/B.KTP";
  write_template(copy, sample());
  const std::string before = bytes(copy);
  Request request{{"ParserFilename", kPath}, {"CopyParserFilename", "B.KTP"}};
  EXPECT_EQ(parser().HTTP_Parser_Copy_fn(request.record(), request.entries(), request.count()), 1);
  EXPECT_EQ(request.reason(),
            "Couldn't Copy Template from: " + std::string(kPath) + " to " + copy + ".\r\n");
  EXPECT_EQ(bytes(copy), before);
}

TEST_F(FileRoad, DeleteRemovesTheFileButNeverTheDefaultTemplate) {
  const std::tuple<const char*, int> rows[] = {{kPath, 0},
                                               {kPath, 1},
                                               {"/tmp/template/pool/web", 1},
                                               {"/tmp/template/pool/system/default.ktp", 1}};
  write_template(kPath, sample());
  write_template("/tmp/template/pool/system/default.ktp", sample());
  for (const auto& [path, result] : rows) {
    Request request{{"ParserFilename", path}};
    EXPECT_EQ(parser().HTTP_Parser_Delete_fn(request.record(), request.entries(), request.count()),
              result)
        << path;
  }
  EXPECT_EQ(bytes(kPath), "(none)");
  EXPECT_NE(bytes("/tmp/template/pool/system/default.ktp"), "(none)");
}

// ---- Pools. ----

TEST_F(PoolRoad, ListsNamesThatNeedEscaping) {
  for (const char* name : {"a.KTP", "b\"c.KTP", "x\\y.KTP", "z z.ktp"}) {
    write_template("/tmp/template/pool/web/" + std::string(name), sample());
  }
  write_bytes("/tmp/template/pool/web/other.txt", "");
  Request request;
  const char* expected = R"(a.KTP b\"c.KTP x\\y.KTP z z.ktp)";
  EXPECT_EQ(printed(parser().HTTP_Parser_List_fn, request, "/tmp/template/pool/web"), expected);
  EXPECT_EQ(printed(parser().HTTP_Parser_List_Non_WIA_fn, request, "/tmp/template/pool/web"),
            expected);
}

TEST_F(PoolRoad, FilteredListLeavesOutTheScanDriversTemplates) {
  for (const char* creator : {"WIA", "TWAIN", "WIA2", "wia"}) {
    write_template("/tmp/template/pool/web/" + std::string(creator) + ".KTP",
                   {{"qvn_svc_general", "JobTemplateCreator", "string", {creator}}});
  }
  write_template("/tmp/template/pool/web/empty.KTP", {});
  write_bytes("/tmp/template/pool/web/broken.KTP", "\x01 no template at all\n");
  Request request;
  EXPECT_EQ(printed(parser().HTTP_Parser_List_Non_WIA_fn, request, "/tmp/template/pool/web/"),
            "WIA2.KTP broken.KTP empty.KTP wia.KTP");
}

TEST_F(PoolRoad, EmptyAndMissingPoolsPrintNothing) {
  for (const char* directory : {"/tmp/template/pool/web", "/tmp/template/pool/none", kPath}) {
    Request request;
    EXPECT_EQ(printed(parser().HTTP_Parser_List_fn, request, directory), "");
    EXPECT_EQ(printed(parser().HTTP_Parser_List_Non_WIA_fn, request, directory), "");
  }
  Request request;
  parser().HTTP_Parser_List_fn(request.record(), nullptr);
  EXPECT_EQ(journal().page(), "");
}

TEST_F(PoolRoad, ListsTheInvocationsOfAService) {
  write_template(kPath, sample());
  const Fields run = {{"ServiceName", "fax"}, {"Action", "update"}};
  Request edit{{"ParserFilename", kPath}, run[0], run[1], run[0], run[1]};
  EXPECT_EQ(set(edit), 0);
  const Values names = invocations(kPath, "fax");
  ASSERT_EQ(names.size(), 3U);
  Request request;
  printed(parser().HTTP_Open_Parser_fn, request, kPath);
  EXPECT_EQ(printed(parser().HTTP_Parser_List_Invocations_fn, request, "fax"),
            names[0] + "," + names[1] + "," + names[2]);
  EXPECT_EQ(printed(parser().HTTP_Parser_List_Invocations_fn, request, "none"), "");
}

}  // namespace
