// Listings of pools and invocations: what is printed, and every store call in its order.
// SPDX-License-Identifier: MIT
#include <tuple>

#include "calls_fixture.h"

namespace {

constexpr char kList[] = "HTTP_Parser_List_fn";
constexpr char kFilteredList[] = "HTTP_Parser_List_Non_WIA_fn";
constexpr char kInvocations[] = "HTTP_Parser_List_Invocations_fn";

using Listing = ModuleCalls;
using FilteredListing = ModuleCalls;
using InvocationListing = ModuleCalls;
using ListingDeathTest = ModuleCalls;

TEST_F(Listing, PrintsEscapedNamesBetweenSingleBlanks) {
  scripted_store().files = {"a.KTP", "b\"c.KTP", "x\\y.KTP", "with blank.KTP", "\\\"'/.KTP"};
  Request request;
  parser().HTTP_Parser_List_fn(request.record(), Argument("/tmp/template/pool"));
  EXPECT_EQ(journal().prints(),
            (Lines{"a.KTP", R"( b\"c.KTP)", R"( x\\y.KTP)", " with blank.KTP", R"( \\\"'/.KTP)"}));
}

TEST_F(Listing, WalksThePoolOnceInItsOrder) {
  scripted_store().files = {"b\"", "a"};
  Request request;
  parser().HTTP_Parser_List_fn(request.record(), Argument("/dir"));
  EXPECT_EQ(
      journal().lines(),
      (Lines{"log " + entered(kList), "log " + support_log(102, "Have argument of '/dir'."),
             "CKwtPool()", "SetPath('/dir')", "Refresh()", "GetTemplateList()",
             R"(StringReplace('b"', '\', '\\'))", R"(StringReplace('b"', '"', '\"'))",
             R"(page b\")", R"(StringReplace('a', '\', '\\'))", R"(StringReplace('a', '"', '\"'))",
             "page  a", "DestructorCKwtPool()", "log " + left(kList)}));
}

TEST_F(Listing, OfAnUnreadablePoolPrintsNothing) {
  scripted_store().files = {"a"};
  scripted_store().results["Refresh"] = {0};
  Request request;
  parser().HTTP_Parser_List_fn(request.record(), Argument("/dir"));
  EXPECT_EQ(journal().calls(),
            (Lines{"CKwtPool()", "SetPath('/dir')", "Refresh()", "DestructorCKwtPool()"}));
  EXPECT_EQ(journal().page(), "");
}

TEST_F(Listing, TakesTheDirectoryFromTheFirstField) {
  Request request{{"TemplateDir", "/first"}, {"TemplateDir", "/second"}};
  parser().HTTP_Parser_List_fn(request.record(), Argument(""));
  EXPECT_EQ(journal().calls(), (Lines{"CKwtPool()", "SetPath('/first')", "Refresh()",
                                      "GetTemplateList()", "DestructorCKwtPool()"}));
  EXPECT_EQ(journal().page(), "");
}

TEST_F(Listing, WithoutADirectoryAsksTheStoreAllTheSame) {
  scripted_store().results["Refresh"] = {0};
  Request request;
  parser().HTTP_Parser_List_fn(request.record(), nullptr);
  EXPECT_EQ(journal().calls(),
            (Lines{"CKwtPool()", "SetPath(NULL)", "Refresh()", "DestructorCKwtPool()"}));
}

TEST_F(FilteredListing, LeavesOutTheScanDriversTemplates) {
  scripted_store().files = {"wia", "keep1", "twain", "keep2", "keep3", "keep4"};
  scripted_store().values = {{"/tmp/template/pool/wia JobTemplateCreator", {"WIA"}},
                             {"/tmp/template/pool/keep1 JobTemplateCreator", {"WIA2"}},
                             {"/tmp/template/pool/twain JobTemplateCreator", {"TWAIN"}},
                             {"/tmp/template/pool/keep2 JobTemplateCreator", {"wia"}},
                             {"/tmp/template/pool/keep3 JobTemplateCreator", {"Office", "WIA"}}};
  Request request;
  parser().HTTP_Parser_List_Non_WIA_fn(request.record(), Argument("/tmp/template/pool"));
  EXPECT_EQ(journal().prints(), (Lines{"keep1", " keep2", " keep3", " keep4"}));
}

TEST_F(FilteredListing, OpensEachTemplateAndReadsItsCreator) {
  scripted_store().files = {"a\\"};
  scripted_store().invocations = {"general1"};
  Request request;
  parser().HTTP_Parser_List_Non_WIA_fn(request.record(), Argument("/tmp/template/pool/"));
  const std::string path = "/tmp/template/pool/a\\";
  EXPECT_EQ(
      journal().lines(),
      joined({{"log " + entered(kFilteredList),
               "log " + support_log(102, "Have argument of '/tmp/template/pool/'."), "CKwtPool()",
               "SetPath('/tmp/template/pool/')", "Refresh()", "GetTemplateList()",
               "log " + support_log(102, "Built full template path of '" + path + "'.")},
              opening(path, 0),
              {"GetLastTemplateError(tpl)", "ListInvocations(tpl, 'qvn_svc_general')",
               "Read(tpl, 'qvn_svc_general', 'general1', 'JobTemplateCreator', 1)"},
              closing(0),
              {R"(StringReplace('a\', '\', '\\'))", R"(StringReplace('a\\', '"', '\"'))",
               R"(page a\\)", "DestructorCKwtPool()", "log " + left(kFilteredList)}}));
}

TEST_F(FilteredListing, ListsATemplateThatCannotBeOpened) {
  scripted_store().files = {"broken", "good"};
  scripted_store().results["Open"] = {0, 1};
  scripted_store().results["GetLastTemplateError"] = {KWTERR_FILE_OPEN};
  Request request;
  parser().HTTP_Parser_List_Non_WIA_fn(request.record(), Argument("/tmp/template/pool"));
  EXPECT_EQ(journal().page(), "broken good");
}

TEST_F(FilteredListing, ListsATemplateWhosePathIsTooLong) {
  const std::string name(300, 'n');
  scripted_store().files = {name};
  Request request;
  parser().HTTP_Parser_List_Non_WIA_fn(request.record(), Argument("/tmp/template/pool"));
  EXPECT_EQ(journal().page(), name);
  EXPECT_EQ(journal().logs().at(2), support_log(102, "Built full template path of ''."));
}

TEST_F(FilteredListing, WithoutADirectorySaysSoAndTouchesNoPool) {
  Request request;
  parser().HTTP_Parser_List_Non_WIA_fn(request.record(), nullptr);
  EXPECT_EQ(
      journal().lines(),
      (Lines{
          "log " + entered(kFilteredList), "log " + support_log(102, "Have argument of '(null)'."),
          "log " + parser_log(3, "The path for HTTP_Parser_List_Non_WIA_fn is NULL! Exiting now!"),
          "log " + left(kFilteredList)}));
}

TEST_F(FilteredListing, OfAnUnreadableOrEmptyPoolPrintsNothing) {
  for (const int readable : {0, 1}) {
    scripted_store().results["Refresh"] = {readable};
    Request request;
    parser().HTTP_Parser_List_Non_WIA_fn(request.record(), Argument("/dir"));
    EXPECT_EQ(journal().page(), "");
    EXPECT_EQ(journal().calls().back(), "DestructorCKwtPool()");
  }
}

TEST_F(InvocationListing, PrintsTheNamesBetweenCommas) {
  const std::tuple<std::vector<std::string>, Lines> rows[] = {
      {{"X", "Y", "Z"}, {"X", ",", "Y", ",", "Z"}},
      {{"one"}, {"one"}},
      {std::vector<std::string>{}, Lines{}},
      {{"a\"\\", std::string(255, 'n')}, {"a\"\\", ",", std::string(255, 'n')}}};
  for (const auto& [names, prints] : rows) {
    scripted_store().invocations = names;
    Request request;
    open(request);
    parser().HTTP_Parser_List_Invocations_fn(request.record(), Argument("svc with blank"));
    EXPECT_EQ(journal().prints(), prints);
    EXPECT_EQ(journal().calls(), (Lines{"ListInvocations(tpl, 'svc with blank')"}));
    EXPECT_EQ(journal().logs(),
              (Lines{entered(kInvocations),
                     parser_log(102, "Argument passed into function: svc with blank"),
                     parser_log(102, "About to enter while loop."), left(kInvocations)}));
  }
}

TEST_F(InvocationListing, TakesTheServiceFromTheLastField) {
  Request request{{"InvocationName", "first"}, {"Other", "x"}, {"InvocationName", "last"}};
  open(request);
  parser().HTTP_Parser_List_Invocations_fn(request.record(), Argument(""));
  EXPECT_EQ(journal().calls(), (Lines{"ListInvocations(tpl, 'last')"}));
  EXPECT_EQ(journal().logs(),
            (Lines{entered(kInvocations),
                   parser_log(102, "Trying to find HTTP_PARSER_FORM_INVOCATION_NAME"),
                   parser_log(102, "Found HTTP_PARSER_FORM_INVOCATION_NAME: first"),
                   parser_log(102, "Found HTTP_PARSER_FORM_INVOCATION_NAME: last"),
                   parser_log(102, "About to enter while loop."), left(kInvocations)}));
}

TEST_F(InvocationListing, WithoutAServiceAsksForNone) {
  Request request;
  open(request);
  parser().HTTP_Parser_List_Invocations_fn(request.record(), nullptr);
  EXPECT_EQ(journal().calls(), (Lines{"ListInvocations(tpl, NULL)"}));
}

TEST_F(InvocationListing, WithoutATemplatePrintsNothing) {
  Request request;
  parser().HTTP_Parser_List_Invocations_fn(request.record(), Argument("svc"));
  EXPECT_EQ(journal().lines(), (Lines{"log " + entered(kInvocations),
                                      "log " + parser_log(3, "udata->parserTemplate is NULL!"),
                                      "log " + left(kInvocations)}));
}

TEST_F(ListingDeathTest, EscapingWithoutMemoryEndsTheProcess) {
  scripted_store().files = {"a"};
  scripted_store().replaces = false;
  Request request;
  EXPECT_EXIT(
      {
        journal().echo();
        parser().HTTP_Parser_List_fn(request.record(), Argument("/dir"));
      },
      testing::ExitedWithCode(1), "log " + parser_log(3, "malloc failed! Exiting!") + "\n$");
}

}  // namespace
