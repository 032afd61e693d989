// Attribute output: addresses, separators and escaping, with every store call in its order.
// SPDX-License-Identifier: MIT
#include <tuple>

#include "calls_fixture.h"

namespace {

constexpr char kGet[] = "HTTP_Parser_Get_fn";
constexpr char kScriptGet[] = "HTTP_Parser_JS_Get_fn";

using AttributeOutput = ModuleCalls;
using AttributeOutputDeathTest = ModuleCalls;

using Output = void (*)(QVN_AppData*, char*);

// What an output function prints for an argument over the open template.
Lines printed(Output function, Request& request, const std::string& argument) {
  open(request);
  function(request.record(), Argument(argument));
  return journal().prints();
}

TEST_F(AttributeOutput, WithoutATemplatePrintsNothing) {
  Request request;
  parser().HTTP_Parser_Get_fn(request.record(), Argument("svc NULL Name string"));
  parser().HTTP_Parser_JS_Get_fn(request.record(), Argument("svc NULL Name string"));
  EXPECT_EQ(
      journal().lines(),
      (Lines{"log " + entered(kGet),
             "log " + parser_log(6, "HTTP_Parser_Get_fn called with NULL udata->parserTemplate!"),
             "log " + left(kGet), "log " + entered(kScriptGet),
             "log " + parser_log(100, "udata->parserTemplate is NULL!"),
             "log " + left(kScriptGet)}));
}

TEST_F(AttributeOutput, ReadsPrintsAndReleasesOneValueAfterTheOther) {
  scripted_store().values["Name"] = {"x/1", "y/2"};
  Request request;
  open(request);
  parser().HTTP_Parser_Get_fn(request.record(), Argument("svc inv Name string"));
  EXPECT_EQ(journal().lines(),
            (Lines{"log " + entered(kGet), "Read(tpl, 'svc', 'inv', 'Name', 1)", "page x/1",
                   "jt_destroy_value_string(tpl, 'x/1')", "Read(tpl, 'svc', 'inv', 'Name', 0)",
                   "page ,y/2", "jt_destroy_value_string(tpl, 'y/2')",
                   "Read(tpl, 'svc', 'inv', 'Name', 0)", "log " + left(kGet)}));
}

TEST_F(AttributeOutput, ScriptFormsAreMadeStepByStepForEveryValue) {
  scripted_store().values["Name"] = {"/'", "\"\\/"};
  Request request;
  open(request);
  parser().HTTP_Parser_JS_Get_fn(request.record(), Argument("svc inv Name string"));
  EXPECT_EQ(journal().lines(),
            (Lines{"log " + entered(kScriptGet), "Read(tpl, 'svc', 'inv', 'Name', 1)",
                   R"(StringReplace('/'', '\', '\\'))", R"(StringReplace('/'', ''', '\''))",
                   R"(StringReplace('/\'', '"', '\"'))", R"(StringReplace('/\'', '/', '\/'))",
                   R"(page \/\')", "jt_destroy_value_string(tpl, '/'')",
                   "Read(tpl, 'svc', 'inv', 'Name', 0)", R"(StringReplace('"\/', '\', '\\'))",
                   R"(StringReplace('"\\/', ''', '\''))", R"(StringReplace('"\\/', '"', '\"'))",
                   R"(StringReplace('\"\\/', '/', '\/'))", R"(page ,\"\\/)",
                   R"(jt_destroy_value_string(tpl, '"\/'))", "Read(tpl, 'svc', 'inv', 'Name', 0)",
                   "log " + left(kScriptGet)}));
}

TEST_F(AttributeOutput, EscapesTheFirstValueFullyAndLeavesTheSlashesOfTheOthers) {
  const std::tuple<std::vector<std::string>, const char*, const char*> rows[] = {
      {{"a/b'c"}, R"(a\/b\'c)", "a/b'c"},
      {{"x/1", "y/2"}, R"(x\/1,y/2)", "x/1,y/2"},
      {{"\"\\"}, R"(\"\\)", "\"\\"},
      {{"\\'\"/", "\\'\"/"}, R"(\\\'\"\/,\\\'\"/)", "\\'\"/,\\'\"/"},
      {{R"(\\\'\"\/)"}, R"(\\\\\\\'\\\"\\\/)", R"(\\\'\"\/)"},
      {{"<b>%s %d</b>"}, R"(<b>%s %d<\/b>)", "<b>%s %d</b>"},
      {{"", ""}, ",", ","},
      {std::vector<std::string>{}, "", ""},
  };
  for (const auto& [values, script, plain] : rows) {
    scripted_store().values["Name"] = values;
    Request request;
    printed(parser().HTTP_Parser_JS_Get_fn, request, "svc NULL Name string");
    EXPECT_EQ(journal().page(), script);
    printed(parser().HTTP_Parser_Get_fn, request, "svc NULL Name string");
    EXPECT_EQ(journal().page(), plain);
  }
}

TEST_F(AttributeOutput, WithoutValuesPrintsNothingAtAll) {
  Request request;
  EXPECT_EQ(printed(parser().HTTP_Parser_Get_fn, request, "svc inv Name string"), Lines{});
  EXPECT_EQ(journal().calls(), (Lines{"Read(tpl, 'svc', 'inv', 'Name', 1)"}));
  EXPECT_EQ(printed(parser().HTTP_Parser_JS_Get_fn, request, "svc inv Name string"), Lines{});
  EXPECT_EQ(journal().logs(), (Lines{entered(kScriptGet), left(kScriptGet)}));
}

TEST_F(AttributeOutput, SeparatesPhoneNumbersBySemicolons) {
  for (const char* name : {"PhoneNumber", "phonenumber", "PhoneNumber2"}) {
    scripted_store().values[name] = {"555,1", "556"};
    const bool phone = std::string(name) == "PhoneNumber";
    Request request;
    for (const Output function : {parser().HTTP_Parser_Get_fn, parser().HTTP_Parser_JS_Get_fn}) {
      printed(function, request, "svc NULL " + std::string(name) + " string");
      EXPECT_EQ(journal().page(), phone ? "555,1;556" : "555,1,556") << name;
    }
  }
}

TEST_F(AttributeOutput, TakesWhatTheArgumentDoesNotGiveFromTheForm) {
  const Fields form = {{"ServiceName", "s1"},   {"InvocationName", "i1"}, {"AttributeName", "a1"},
                       {"AttributeType", "t1"}, {"AttributeName", "a2"},  {"InvocationName", "i2"},
                       {"servicename", "no"}};
  const std::tuple<const char*, const char*> rows[] = {
      {"svc inv Name string", "Read(tpl, 'svc', 'inv', 'Name', 1)"},
      {"svc NULL Name", "Read(tpl, 'svc', 'i2', 'Name', 1)"},
      {"svc NULL NULL NULL", "Read(tpl, 'svc', 'i2', 'a2', 1)"},
      {"NULL", "Read(tpl, 's1', 'i2', 'a2', 1)"},
      {"", "Read(tpl, 's1', 'i2', 'a2', 1)"},
      {"   ", "Read(tpl, 's1', 'i2', 'a2', 1)"},
      {"null inv", "Read(tpl, 'null', 'inv', 'a2', 1)"},
      {"  svc   inv    Name string  fifth NULL", "Read(tpl, 'svc', 'inv', 'Name', 1)"},
      {"svc\tinv Name", "Read(tpl, 'svc\tinv', 'Name', 'a2', 1)"},
  };
  for (const auto& [argument, read] : rows) {
    for (const Output function : {parser().HTTP_Parser_Get_fn, parser().HTTP_Parser_JS_Get_fn}) {
      Request request(form);
      printed(function, request, argument);
      EXPECT_EQ(journal().calls(), (Lines{read})) << argument;
    }
  }
}

TEST_F(AttributeOutput, NullArgumentTakesEverythingFromTheForm) {
  Request request{{"ServiceName", "s"}, {"AttributeName", "a"}};
  open(request);
  parser().HTTP_Parser_Get_fn(request.record(), nullptr);
  EXPECT_EQ(journal().calls(), (Lines{"Read(tpl, 's', NULL, 'a', 1)"}));
}

TEST_F(AttributeOutput, WithoutAnAttributeNamePrintsNothing) {
  Request request;
  for (const Output function : {parser().HTTP_Parser_Get_fn, parser().HTTP_Parser_JS_Get_fn}) {
    EXPECT_EQ(printed(function, request, "svc inv"), Lines{});
    EXPECT_EQ(journal().logs().size(), 2U);
  }
}

TEST_F(AttributeOutput, LeavesTheServiceThatNobodyNamesToTheStore) {
  Request request;
  printed(parser().HTTP_Parser_Get_fn, request, "NULL NULL Name");
  EXPECT_EQ(journal().calls(), (Lines{"Read(tpl, NULL, NULL, 'Name', 1)"}));
}

TEST_F(AttributeOutputDeathTest, EscapingWithoutMemoryEndsTheProcess) {
  scripted_store().values["Name"] = {"x"};
  Request request;
  open(request);
  scripted_store().replaces = false;
  EXPECT_EXIT(
      {
        journal().echo();
        parser().HTTP_Parser_JS_Get_fn(request.record(), Argument("svc inv Name string"));
      },
      testing::ExitedWithCode(1),
      testing::Eq("log " + entered(kScriptGet) + "\nRead(tpl, 'svc', 'inv', 'Name', 1)\n" +
                  R"(StringReplace('x', '\', '\\'))" + "\nlog " +
                  parser_log(3, "malloc failed! Exiting!") + "\n"));
}

}  // namespace
