// The metadata script and the destination listing: every printed byte and every store call.
// SPDX-License-Identifier: MIT
#include "calls_fixture.h"

namespace {

constexpr char kMetadata[] = "HTTP_Parser_Print_Meta_Data_Attributes_fn";
constexpr char kDestinations[] = "HTTP_Parser_List_Destinations_fn";

using MetadataScript = ModuleCalls;
using Destinations = ModuleCalls;
using MetadataDeathTest = ModuleCalls;

constexpr char kDeclarations[] =
    "var defaultValue       = new Array();\n"
    "var fieldLabel         = new Array();\n"
    "var fieldName          = new Array();\n"
    "var invocationName     = new Array();\n"
    "var maskUserInput      = new Array();\n"
    "var requireUserInput   = new Array();\n"
    "var validateData\t      = new Array();\n";

TEST_F(MetadataScript, WithoutFieldsIsItsSevenDeclarations) {
  Request request;
  open(request);
  parser().HTTP_Parser_Print_Meta_Data_Attributes_fn(request.record(), nullptr);
  EXPECT_EQ(journal().page(), kDeclarations);
  EXPECT_EQ(journal().calls(), (Lines{"ListInvocations(tpl, 'qvn_dscrpt_metadata')"}));
  EXPECT_EQ(journal().logs(),
            (Lines{entered(kMetadata), parser_log(101, "  Returned from ListInvocations()."),
                   left(kMetadata)}));
}

TEST_F(MetadataScript, PrintsSevenLinesForEachField) {
  scripted_store().invocations = {"field\"1", "field2"};
  scripted_store().values = {{"MetaDataDefaultValue", {"a/b'c", "second"}},
                             {"MetaDataPrompt", {"\\\"/"}},
                             {"MetaDataFieldName", {"n/"}},
                             {"MetaDataMaskingRequired", {"a/b"}},
                             {"MetaDataRequiredEntry", {"'\"\\/"}},
                             {"MetaDataValidationRequired", {"TRUE"}}};
  Request request;
  open(request);
  parser().HTTP_Parser_Print_Meta_Data_Attributes_fn(request.record(), nullptr);
  const auto field = [](const std::string& counter, const std::string& name) {
    return "defaultValue[" + counter + "]        = \"a\\/b\\'c\";\n" + "fieldLabel[" + counter +
           "]          = \"\\\\\\\"\\/\";\n" + "fieldName[" + counter +
           "]           = \"n\\/\";\n" + "maskUserInput[" + counter + "]       = \"a/b\";\n" +
           "requireUserInput[" + counter + "]    = \"\\'\\\"\\\\/\";\n" + "validateData[" +
           counter + "]        = \"TRUE\";\n" + "invocationName[" + counter + "]      = \"" + name +
           "\";\n";
  };
  EXPECT_EQ(journal().page(), kDeclarations + field("0", "field\"1") + field("1", "field2"));
}

TEST_F(MetadataScript, ReadsTheSixAttributesBeforeItPrintsThem) {
  scripted_store().invocations = {"f"};
  scripted_store().values = {{"MetaDataPrompt", {"p"}}, {"MetaDataMaskingRequired", {"m"}}};
  Request request;
  open(request);
  parser().HTTP_Parser_Print_Meta_Data_Attributes_fn(request.record(), nullptr);
  const std::string read = "Read(tpl, 'qvn_dscrpt_metadata', 'f', '";
  EXPECT_EQ(
      journal().calls(),
      (Lines{"ListInvocations(tpl, 'qvn_dscrpt_metadata')", read + "MetaDataDefaultValue', 1)",
             read + "MetaDataPrompt', 1)", read + "MetaDataFieldName', 1)",
             read + "MetaDataMaskingRequired', 1)", read + "MetaDataRequiredEntry', 1)",
             read + "MetaDataValidationRequired', 1)", R"(StringReplace('p', '\', '\\'))",
             R"(StringReplace('p', ''', '\''))", R"(StringReplace('p', '"', '\"'))",
             R"(StringReplace('p', '/', '\/'))", R"(StringReplace('m', '\', '\\'))",
             R"(StringReplace('m', ''', '\''))", R"(StringReplace('m', '"', '\"'))"}));
  EXPECT_EQ(journal().prints().at(7), "defaultValue[0]        = \"\";\n");
}

TEST_F(MetadataScript, WithoutARecordOrATemplateSaysSo) {
  Request request;
  for (QVN_AppData* record : {static_cast<QVN_AppData*>(nullptr), request.record()}) {
    journal().clear();
    parser().HTTP_Parser_Print_Meta_Data_Attributes_fn(record, nullptr);
    EXPECT_EQ(journal().lines(),
              (Lines{"log " + entered(kMetadata), "log " + parser_log(3, "Invalid parameters."),
                     "log " + left(kMetadata)}));
  }
}

TEST_F(Destinations, PrintsEightFieldsForEachOne) {
  scripted_store().invocations = {"X", "Y"};
  scripted_store().values = {{"DocumentPath", {"path"}},      {"DocumentFilingPolicy", {"policy"}},
                             {"FilingProtocol", {"proto"}},   {"RepositoryAlias", {"alias"}},
                             {"LoginName", {"lo,\"gin"}},     {"RepositoryName", {"rep&o"}},
                             {"RepositoryVolume", {"volume"}}};
  Request request;
  open(request);
  parser().HTTP_Parser_List_Destinations_fn(request.record(), nullptr);
  EXPECT_EQ(journal().prints(), (Lines{"X,proto,rep&o,path,alias,volume,lo,\"gin,policy",
                                       "&Y,proto,rep&o,path,alias,volume,lo,\"gin,policy"}));
}

TEST_F(Destinations, ReadsInItsOrderAndLogsItsExitAlone) {
  scripted_store().invocations = {"X"};
  Request request;
  open(request);
  parser().HTTP_Parser_List_Destinations_fn(request.record(), nullptr);
  const std::string read = "Read(tpl, 'qvn_svc_file', 'X', '";
  EXPECT_EQ(
      journal().lines(),
      (Lines{"ListInvocations(tpl, 'qvn_svc_file')", read + "DocumentPath', 1)",
             read + "DocumentFilingPolicy', 1)", read + "FilingProtocol', 1)",
             read + "RepositoryAlias', 1)", read + "LoginName', 1)", read + "RepositoryName', 1)",
             read + "RepositoryVolume', 1)", "page X,,,,,,,", "log " + left(kDestinations)}));
}

TEST_F(Destinations, WithoutATemplateOrADestinationPrintsNothing) {
  Request request;
  parser().HTTP_Parser_List_Destinations_fn(request.record(), nullptr);
  EXPECT_EQ(journal().lines(), (Lines{"log " + parser_log(3, "udata->parserTemplate is NULL!"),
                                      "log " + left(kDestinations)}));
  open(request);
  parser().HTTP_Parser_List_Destinations_fn(request.record(), nullptr);
  EXPECT_EQ(journal().page(), "");
}

TEST_F(MetadataDeathTest, NullRecordOfTheDestinationsEndsTheProcess) {
  EXPECT_FATAL(parser().HTTP_Parser_List_Destinations_fn(nullptr, nullptr),
               (Lines{parser_log(3, "udata is NULL! Exiting!")}));
}

TEST_F(MetadataDeathTest, EscapingWithoutMemoryEndsTheProcess) {
  scripted_store().invocations = {"f"};
  scripted_store().values = {{"MetaDataRequiredEntry", {"TRUE"}}};
  Request request;
  open(request);
  scripted_store().replaces = false;
  EXPECT_EXIT(
      {
        journal().echo();
        parser().HTTP_Parser_Print_Meta_Data_Attributes_fn(request.record(), nullptr);
      },
      testing::ExitedWithCode(1), "log " + parser_log(3, "malloc failed! Exiting!") + "\n$");
}

}  // namespace
