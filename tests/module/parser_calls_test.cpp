// Frame, open, close and the support functions: texts, store calls and their order.
// SPDX-License-Identifier: MIT
#include <cstring>
#include <tuple>

#include "calls_fixture.h"

namespace {

constexpr char kOpen[] = "HTTP_Open_Parser_fn";
constexpr char kClose[] = "HTTP_Close_Parser_fn";

using Frame = ModuleCalls;
using OpenTemplate = ModuleCalls;
using CloseTemplate = ModuleCalls;
using TemplatePaths = ModuleCalls;
using AttributeValue = ModuleCalls;
using FrameDeathTest = ModuleCalls;

Lines log_line(const std::string& line) { return {"log " + line}; }

TEST_F(Frame, InitLogsItsEntryAndExitAndReturnsZero) {
  EXPECT_EQ(parser().HTTP_Parser_Init(), 0);
  EXPECT_EQ(journal().lines(),
            (Lines{"log " + entered("HTTP_Parser_Init"), "log " + left("HTTP_Parser_Init")}));
}

TEST_F(Frame, ArgumentWinsOverFormFields) {
  Request request{{"TemplateDir", "/form"}};
  Argument given("/given");
  char* argument = given;
  EXPECT_EQ(parser().TempSuppGetArgument(request.record(), argument, Argument("TemplateDir")),
            argument);
  EXPECT_EQ(journal().logs(), (Lines{support_log(102, "Have argument of '/given'.")}));
}

TEST_F(Frame, EmptyArgumentTakesTheFirstFieldOfTheName) {
  Request request{{"templatedir", "no"}, {"TemplateDir", "/first"}, {"TemplateDir", "/second"}};
  Argument empty("");
  for (char* argument : {static_cast<char*>(nullptr), static_cast<char*>(empty)}) {
    journal().clear();
    EXPECT_EQ(parser().TempSuppGetArgument(request.record(), argument, Argument("TemplateDir")),
              request.entries()[1].val);
    EXPECT_EQ(journal().logs(), (Lines{support_log(102, "Have argument of '/first'.")}));
  }
}

TEST_F(Frame, ArgumentThatIsNowhereIsNullAndLogged) {
  Request request{{"Other", "x"}};
  EXPECT_EQ(parser().TempSuppGetArgument(request.record(), nullptr, Argument("TemplateDir")),
            nullptr);
  EXPECT_EQ(journal().logs(), (Lines{support_log(102, "Have argument of '(null)'.")}));
}

TEST_F(Frame, ArgumentOfAFormWithoutEntriesIsNull) {
  Request request;
  request->entries = nullptr;
  request->num_entries = 3;
  EXPECT_EQ(parser().TempSuppGetArgument(request.record(), nullptr, Argument("A")), nullptr);
}

TEST_F(FrameDeathTest, NullRecordEndsTheProcess) {
  const auto fatal = [](const char* function, const char* text) {
    return Lines{entered(function), parser_log(3, text)};
  };
  EXPECT_FATAL(parser().HTTP_Open_Parser_fn(nullptr, nullptr),
               fatal(kOpen, "NULL udata pointer! Exiting!"));
  EXPECT_FATAL(parser().HTTP_Close_Parser_fn(nullptr, nullptr),
               fatal(kClose, "udata is NULL! Exiting!"));
  EXPECT_FATAL(parser().HTTP_Parser_Get_fn(nullptr, nullptr),
               fatal("HTTP_Parser_Get_fn", "udata pointer is NULL! Exiting!"));
  EXPECT_FATAL(parser().HTTP_Parser_JS_Get_fn(nullptr, nullptr),
               fatal("HTTP_Parser_JS_Get_fn", "udata is NULL! Exiting!"));
  EXPECT_FATAL(parser().HTTP_Parser_Set_fn(nullptr, nullptr, 0),
               fatal("HTTP_Parser_Set_fn", "udata is NULL! Exiting!"));
  EXPECT_FATAL(parser().HTTP_Parser_Copy_fn(nullptr, nullptr, 0),
               fatal("HTTP_Parser_Copy_fn", "Invalid NULL parameter! Exiting!"));
  EXPECT_FATAL(parser().HTTP_Parser_Delete_fn(nullptr, nullptr, 0),
               fatal("HTTP_Parser_Delete_fn", "udata is NULL! Exiting!"));
  EXPECT_FATAL(parser().HTTP_Parser_List_fn(nullptr, nullptr),
               fatal("HTTP_Parser_List_fn", "udata is NULL! Exiting!"));
  EXPECT_FATAL(parser().HTTP_Parser_List_Non_WIA_fn(nullptr, nullptr),
               fatal("HTTP_Parser_List_Non_WIA_fn", "udata is NULL! Exiting!"));
  EXPECT_FATAL(parser().HTTP_Parser_List_Invocations_fn(nullptr, nullptr),
               fatal("HTTP_Parser_List_Invocations_fn", "udata is NULL! Exiting!"));
}

TEST_F(FrameDeathTest, CopyWithoutEntriesEndsTheProcess) {
  Request request;
  EXPECT_FATAL(
      parser().HTTP_Parser_Copy_fn(request.record(), nullptr, 0),
      (Lines{entered("HTTP_Parser_Copy_fn"), parser_log(3, "Invalid NULL parameter! Exiting!")}));
}

TEST_F(FrameDeathTest, NoMemoryForATemplateEndsTheProcess) {
  Request request;
  Argument path("/tmp/template/pool/a.KTP");
  EXPECT_FATAL(fail_allocation(1, Allocator::module);
               parser().HTTP_Open_Parser_fn(request.record(), path),
               (Lines{entered(kOpen), parser_log(102, "Allocing memory for udata->parserTemplate."),
                      parser_log(3, "Could not allocate memory for udata->parserTemplate!")}));
}

// ---- Open. ----

TEST_F(OpenTemplate, WithoutModeOpensForReading) {
  Request request;
  parser().HTTP_Open_Parser_fn(request.record(), Argument("/tmp/template/pool/a.ktp"));
  EXPECT_EQ(journal().lines(), opening("/tmp/template/pool/a.ktp", 0));
  EXPECT_NE(request->parserTemplate, nullptr);
  EXPECT_EQ(request.reason(), "");
}

TEST_F(OpenTemplate, CutsTheArgumentAfterItsPathAndTakesTheModeFromTheSecondField) {
  const std::tuple<const char*, int> rows[] = {
      {"/tmp/template/pool/a.ktp|O_RDWR", 2},
      {"/tmp/template/pool/a.ktp|O_RDONLY", 0},
      {"/tmp/template/pool/a.ktp|rw", 0},
      {"/tmp/template/pool/a.ktp|o_rdwr", 0},
      {"/tmp/template/pool/a.ktp|O_RDWRX", 0},
      {"/tmp/template/pool/a.ktp|", 0},
      {"/tmp/template/pool/a.ktp||O_RDWR", 2},
      {"/tmp/template/pool/a.ktp|O_RDWR|O_RDONLY", 2},
      {"/tmp/template/pool/a.ktp|O_RDONLY|O_RDWR", 0},
  };
  for (const auto& [text, mode] : rows) {
    SCOPED_TRACE(text);
    Request request;
    journal().clear();
    Argument argument(text);
    parser().HTTP_Open_Parser_fn(request.record(), argument);
    EXPECT_EQ(journal().lines(), opening("/tmp/template/pool/a.ktp", mode));
    EXPECT_EQ(argument.text(), "/tmp/template/pool/a.ktp");
  }
}

TEST_F(OpenTemplate, SkipsLeadingSeparators) {
  Request request;
  parser().HTTP_Open_Parser_fn(request.record(), Argument("||/tmp/template/pool/a|O_RDWR"));
  EXPECT_EQ(journal().lines(), opening("/tmp/template/pool/a", 2));
}

TEST_F(OpenTemplate, EmptyArgumentTakesTheLastFieldOfTheForm) {
  for (const char* empty : {static_cast<const char*>(nullptr), ""}) {
    Request request{{"ParserFilename", "/tmp/template/pool/first"},
                    {"ParserFilename", "/tmp/template/pool/second|O_RDWR"},
                    {"DefaultParserFilename", "/tmp/template/pool/third"}};
    journal().clear();
    parser().HTTP_Open_Parser_fn(request.record(), const_cast<char*>(empty));
    EXPECT_EQ(journal().lines(), opening("/tmp/template/pool/second", 2));
    EXPECT_STREQ(request.entries()[1].val, "/tmp/template/pool/second");
  }
}

TEST_F(OpenTemplate, WithoutAnyArgumentChangesNothing) {
  for (const Fields& fields :
       {Fields{}, Fields{{"ParserFilename", "/tmp/template/pool/first"}, {"ParserFilename", ""}}}) {
    Request request(fields);
    open(request);
    void* before = request->parserTemplate;
    parser().HTTP_Open_Parser_fn(request.record(), nullptr);
    EXPECT_EQ(journal().lines(),
              (Lines{"log " + entered(kOpen),
                     "log " + parser_log(6, "The argument to HTTP_Open_Parser_fn is NULL"),
                     "log " + left(kOpen)}));
    EXPECT_EQ(request->parserTemplate, before);
  }
}

TEST_F(OpenTemplate, ClosesTheTemplateThatIsOpenWithoutSaving) {
  Request request;
  open(request, "/tmp/template/pool/old");
  parser().HTTP_Open_Parser_fn(request.record(), Argument("/tmp/template/pool/new"));
  Lines expected = opening("/tmp/template/pool/new", 0);
  expected.erase(expected.begin());
  EXPECT_EQ(journal().lines(),
            joined({log_line(entered(kOpen)),
                    log_line(parser_log(101, "udata->parserTemplate is not null? Cleanup.")),
                    closing(0, hidden_field("/tmp/template/pool/old")),
                    log_line(parser_log(102, "udata->parserTemplate has been closed and freed.")),
                    expected}));
}

TEST_F(OpenTemplate, ArgumentOfSeparatorsLeavesAnObjectThatWasNeverConstructed) {
  Request request;
  parser().HTTP_Open_Parser_fn(request.record(), Argument("||"));
  EXPECT_EQ(
      journal().lines(),
      (Lines{"log " + entered(kOpen),
             "log " + parser_log(102, "Allocing memory for udata->parserTemplate."),
             "log " + parser_log(102, "template file path = (null)"),
             "log " + parser_log(100, "HTTP_Open_Parser_fn Successful."), "log " + left(kOpen)}));
  ASSERT_NE(request->parserTemplate, nullptr);
  const std::string object(static_cast<const char*>(request->parserTemplate),
                           sizeof(TemplateObject));
  EXPECT_EQ(object, std::string(sizeof(TemplateObject), '\0'));
}

TEST_F(OpenTemplate, IllegalPathLeavesAConstructedObjectThatTheCloseReleases) {
  Request request;
  parser().HTTP_Open_Parser_fn(request.record(), Argument("/etc/passwd|O_RDWR"));
  EXPECT_EQ(
      journal().lines(),
      (Lines{"log " + entered(kOpen),
             "log " + parser_log(102, "Allocing memory for udata->parserTemplate."),
             "log " + parser_log(102, "template file path = /etc/passwd"), "CKwtTemplate(tpl)",
             "log " + parser_log(3, "*** Illegal template path: /etc/passwd"),
             "log " + left(kOpen)}));
  EXPECT_NE(request->parserTemplate, nullptr);
  EXPECT_EQ(request.reason(), "");
  journal().clear();
  parser().HTTP_Close_Parser_fn(request.record(), nullptr);
  EXPECT_EQ(journal().lines(), closing(0));
  EXPECT_EQ(request->parserTemplate, nullptr);
}

TEST_F(OpenTemplate, FailedOpenTellsTheReason) {
  scripted_store().results["Open"] = {0};
  Request request;
  parser().HTTP_Open_Parser_fn(request.record(), Argument("/tmp/template/pool/a|O_RDWR"));
  EXPECT_EQ(journal().lines(),
            (Lines{"log " + entered(kOpen),
                   "log " + parser_log(102, "Allocing memory for udata->parserTemplate."),
                   "log " + parser_log(102, "template file path = /tmp/template/pool/a"),
                   "CKwtTemplate(tpl)", "Open(tpl, '/tmp/template/pool/a', 2)",
                   "log " + parser_log(3, "Template not available : /tmp/template/pool/a"),
                   "log " + left(kOpen)}));
  EXPECT_EQ(request.reason(), "Template not available : /tmp/template/pool/a");
  EXPECT_NE(request->parserTemplate, nullptr);
}

TEST_F(OpenTemplate, ReasonOfAFailedOpenEndsWithinItsField) {
  const std::string text = "Template not available : ";
  for (const std::size_t length : {174U, 175U, 176U, 300U}) {
    SCOPED_TRACE(length);
    scripted_store().results["Open"] = {0};
    Request request;
    request->queue = reinterpret_cast<Ipc_queue*>(&request);
    const std::string path = padded("/tmp/template/pool/", length);
    journal().clear();
    parser().HTTP_Open_Parser_fn(request.record(), Argument(path));
    EXPECT_EQ(request.reason(), (text + path).substr(0, 200));
    EXPECT_EQ(journal().logs().at(3), parser_log(3, text + path));
    EXPECT_EQ(request->queue, reinterpret_cast<Ipc_queue*>(&request));
  }
}

// ---- Close. ----

TEST_F(CloseTemplate, SavesOnlyOnTheExactWord) {
  const std::tuple<const char*, int> rows[] = {{"TRUE", 1},  {"true", 0}, {"FALSE", 0},
                                               {"TRUE ", 0}, {"", 0},     {nullptr, 0}};
  for (const auto& [argument, save] : rows) {
    Request request;
    open(request);
    parser().HTTP_Close_Parser_fn(request.record(), const_cast<char*>(argument));
    EXPECT_EQ(journal().lines(), closing(save, hidden_field("/tmp/template/pool/a.KTP")));
    EXPECT_EQ(request->parserTemplate, nullptr);
  }
}

TEST_F(CloseTemplate, WithoutAPagePrintsNothing) {
  Request request;
  open(request);
  request->outfs = nullptr;
  parser().HTTP_Close_Parser_fn(request.record(), Argument("TRUE"));
  EXPECT_EQ(journal().lines(), closing(1));
}

TEST_F(CloseTemplate, PrintsTheFileNameUnescaped) {
  Request request;
  open(request, "/tmp/template/pool/\"<&>'");
  parser().HTTP_Close_Parser_fn(request.record(), nullptr);
  EXPECT_EQ(journal().page(), hidden_field("/tmp/template/pool/\"<&>'"));
}

TEST_F(CloseTemplate, WithoutATemplateHasNothingToClose) {
  Request request;
  parser().HTTP_Close_Parser_fn(request.record(), Argument("TRUE"));
  EXPECT_EQ(journal().lines(),
            (Lines{"log " + entered(kClose), "log " + parser_log(102, "Nothing to close."),
                   "log " + left(kClose)}));
}

// ---- Paths. ----

TEST_F(TemplatePaths, AreValidBelowTheRootsAndWithoutParentDirectories) {
  const std::tuple<const char*, bool_t> rows[] = {
      {"/tmp/template/pool/system/default.ktp", TRUE},
      {"/tmp/template/pool/a.KTP", TRUE},
      {"/tmp/template/pool", TRUE},
      {"/tmp/template/poolside/a", TRUE},
      {"/tarn/template/pool/a.KTP", TRUE},
      {"/tarn/template/poolX", TRUE},
      {"/var/spool/nc/image_store/s2mailbox/", TRUE},
      {"/var/spool/nc/image_store/s2mailbox/john/a.KTP", TRUE},
      {"/tmp/template/pool/../etc/x", FALSE},
      {"/tmp/template/pool/a..ktp", FALSE},
      {"/tmp/template/pool/..", FALSE},
      {"/tmp/template/pool.", TRUE},
      {"/tmp/template/poo", FALSE},
      {"/TMP/template/pool/a", FALSE},
      {"/tarn/template/Pool/a", FALSE},
      {"/var/spool/nc/image_store/s2mailbox", FALSE},
      {" /tmp/template/pool/a", FALSE},
      {"//tmp/template/pool/a", FALSE},
      {"/etc/passwd", FALSE},
      {"", FALSE},
      {nullptr, FALSE},
  };
  for (const auto& [path, valid] : rows) {
    EXPECT_EQ(parser().ValidTemplatePath(const_cast<char*>(path)), valid) << path;
  }
  EXPECT_EQ(journal().lines(), Lines{});
}

// A buffer of a stated size with a guard behind it, filled with what must not stay.
template <std::size_t kSize>
struct Guarded {
  char text[kSize];
  char guard = '#';
  Guarded() { std::memset(text, '?', kSize); }
};

TEST_F(TemplatePaths, AreJoinedWithOneSeparator) {
  const std::tuple<const char*, const char*, const char*> rows[] = {
      {"/a/b/", "x", "/a/b/x"}, {"/a/b", "x", "/a/b/x"}, {"/a//", "x", "/a//x"},
      {"", "x", "/x"},          {"/", "x", "/x"},        {"/a", "", "/a/"}};
  for (const auto& [folder, name, path] : rows) {
    Guarded<255> full;
    journal().clear();
    parser().TempSuppGetTempFullPath(Argument(folder), Argument(name), full.text);
    EXPECT_STREQ(full.text, path);
    EXPECT_EQ(full.text[254], '\0');
    EXPECT_EQ(
        journal().logs(),
        (Lines{support_log(102, "Built full template path of '" + std::string(path) + "'.")}));
  }
}

TEST_F(TemplatePaths, AreEmptyWhenTheJoinedLengthReachesTheBuffer) {
  for (const std::string folder : {"/folder", "/folder/"}) {
    for (const std::size_t length : {253U, 254U, 255U, 256U, 300U}) {
      const std::string name(length - std::string("/folder/").size(), 'n');
      Guarded<255> full;
      journal().clear();
      parser().TempSuppGetTempFullPath(Argument(folder), Argument(name), full.text);
      const std::string path = length < 255 ? "/folder/" + name : "";
      EXPECT_EQ(full.text, path);
      EXPECT_EQ(full.guard, '#');
      EXPECT_EQ(journal().logs(),
                (Lines{support_log(102, "Built full template path of '" + path + "'.")}));
    }
  }
}

TEST_F(TemplatePaths, NamesLoseTheirLastSuffix) {
  const std::tuple<std::string, std::string> rows[] = {
      {"MAILBOX.KTP", "MAILBOX"},
      {"x.y.KTP", "x.y"},
      {".KTP", ""},
      {"name.", "name"},
      {"a.b/name", "a"},
      {std::string(62, 'n') + ".KTP", std::string(62, 'n')},
      {std::string(63, 'n') + ".KTP", ""},
      {std::string(64, 'n') + ".KTP", ""},
      {std::string(300, 'n') + ".KTP", ""}};
  for (const auto& [name, main] : rows) {
    Guarded<64> sans;
    journal().clear();
    parser().TempSuppGetTempNameSansSuffix(Argument(name), sans.text);
    EXPECT_EQ(sans.text, main);
    EXPECT_EQ(sans.text[63], '\0');
    EXPECT_EQ(sans.guard, '#');
    EXPECT_EQ(journal().logs(),
              (Lines{support_log(102, "Have main template name of '" + main + "'.")}));
  }
}

TEST_F(TemplatePaths, NameWithoutADotIsEmptyAndNotLogged) {
  Guarded<64> sans;
  parser().TempSuppGetTempNameSansSuffix(Argument("MAILBOX"), sans.text);
  EXPECT_STREQ(sans.text, "");
  EXPECT_EQ(journal().lines(), Lines{});
}

// ---- One value of a file. ----

TEST_F(AttributeValue, IsReadFromTheFirstInvocationBetweenAnOpenAndAClose) {
  scripted_store().invocations = {"first", "second"};
  scripted_store().values["Creator"] = {"WIA", "more"};
  Request request;
  char* value = parser().TempSuppGetAttributeValue(
      request.record(), Argument("/tmp/template/pool/a"), Argument("svc"), Argument("Creator"));
  EXPECT_STREQ(value, "WIA");
  EXPECT_EQ(journal().lines(), joined({opening("/tmp/template/pool/a", 0),
                                       {"GetLastTemplateError(tpl)", "ListInvocations(tpl, 'svc')",
                                        "Read(tpl, 'svc', 'first', 'Creator', 1)"},
                                       closing(0)}));
  EXPECT_EQ(request->parserTemplate, nullptr);
}

TEST_F(AttributeValue, OfAServiceWithoutInvocationsIsAskedForWithoutAName) {
  Request request;
  EXPECT_EQ(
      parser().TempSuppGetAttributeValue(request.record(), Argument("/tmp/template/pool/a|O_RDWR"),
                                         Argument("svc"), Argument("Creator")),
      nullptr);
  EXPECT_EQ(journal().calls(), (Lines{"CKwtTemplate(tpl)", "Open(tpl, '/tmp/template/pool/a', 2)",
                                      "GetLastTemplateError(tpl)", "ListInvocations(tpl, 'svc')",
                                      "Read(tpl, 'svc', NULL, 'Creator', 1)", "GetFileName(tpl)",
                                      "Close(tpl, 0)", "DestructorCKwtTemplate(tpl)"}));
}

TEST_F(AttributeValue, OfAFileThatCannotBeOpenedIsNullAndTheObjectStays) {
  scripted_store().results["Open"] = {0};
  scripted_store().results["GetLastTemplateError"] = {KWTERR_FILE_OPEN};
  Request request;
  EXPECT_EQ(parser().TempSuppGetAttributeValue(request.record(), Argument("/tmp/template/pool/a"),
                                               Argument("svc"), Argument("Creator")),
            nullptr);
  EXPECT_EQ(journal().calls(), (Lines{"CKwtTemplate(tpl)", "Open(tpl, '/tmp/template/pool/a', 0)",
                                      "GetLastTemplateError(tpl)"}));
  EXPECT_NE(request->parserTemplate, nullptr);
}

TEST_F(AttributeValue, OfNoFileWhileNothingIsOpenIsNull) {
  Request request;
  EXPECT_EQ(parser().TempSuppGetAttributeValue(request.record(), Argument(""), Argument("svc"),
                                               Argument("Creator")),
            nullptr);
  EXPECT_EQ(request->parserTemplate, nullptr);
}

}  // namespace
