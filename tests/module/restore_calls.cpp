// Restore of factory templates: what it shares with the copy, and each difference.
// SPDX-License-Identifier: MIT
#include <tuple>

#include "calls_fixture.h"

namespace {

constexpr char kRestore[] = "HTTP_Parser_Restore_Defaults_fn";

using Restore = ModuleCalls;
using RestoreDeathTest = ModuleCalls;

int restore(Request& request) {
  return parser().HTTP_Parser_Restore_Defaults_fn(request.record(), request.entries(),
                                                  request.count());
}

TEST_F(Restore, CopiesAFactoryTemplateIntoTheSystemPool) {
  Request request{{"ParserFilename", "Scan.KTP"}, {"CopyParserFilename", "Scan.KTP"}};
  EXPECT_EQ(restore(request), 0);
  const std::string to = "/tmp/template/pool/system/Scan.KTP";
  EXPECT_EQ(journal().calls(),
            (Lines{"CopyCKwtTemplate('/tmp/template/pool/factory/Scan.KTP', '" + to + "')",
                   "CKwtTemplate(tpl)", "Open(tpl, '" + to + "', 2)", naming_call("Scan.KTP"),
                   "GetFileName(tpl)", "Close(tpl, 1)", "DestructorCKwtTemplate(tpl)"}));
  EXPECT_EQ(part(journal().logs(), 0, 8),
            (Lines{entered(kRestore), parser_log(102, "Setting copyFrom to Scan.KTP"),
                   parser_log(102, "copyFrom = /tmp/template/pool/factory/Scan.KTP"),
                   parser_log(102, "Setting copyTo to Scan.KTP"), parser_log(102, "copyTo = " + to),
                   parser_log(102, "copyFrom = /tmp/template/pool/factory/Scan.KTP"),
                   parser_log(102, "copyTo = " + to), entered("HTTP_Open_Parser_fn")}));
  EXPECT_EQ(journal().logs().back(), left(kRestore));
}

TEST_F(Restore, TakesTheLaterSourceAndTheLaterDestination) {
  const std::tuple<Fields, const char*, const char*> rows[] = {
      {{{"ParserFilename", "p"}, {"DefaultParserFilename", "/d"}, {"CopyParserFilename", "c"}},
       "/d",
       "/tmp/template/pool/system/c"},
      {{{"DefaultParserFilename", "/d"}, {"ParserFilename", "p"}, {"CopyParserFilename", "c"}},
       "/tmp/template/pool/factory/p",
       "/tmp/template/pool/system/c"},
      {{{"ParserFilename", "p"}, {"ParserFilename", "q"}, {"CopyParserFilenameMailbox", "m"}},
       "/tmp/template/pool/factory/q",
       "/tmp/template/pool/mailbox/m"},
      {{{"ParserFilename", "p"}},
       "/tmp/template/pool/factory/p",
       "(Copy)/tmp/template/pool/factory/p"},
  };
  for (const auto& [fields, from, to] : rows) {
    Request request(fields);
    journal().clear();
    EXPECT_EQ(restore(request), 0);
    EXPECT_EQ(journal().calls().front(),
              "CopyCKwtTemplate('" + std::string(from) + "', '" + to + "')");
  }
}

TEST_F(Restore, RefusesBeforeItCopies) {
  const std::string longest(254 - std::string("/tmp/template/pool/factory/").size(), 'n');
  const std::tuple<Fields, const char*> rows[] = {
      {{{"CopyParserFilename", "c"}}, "copyFrom == NULL"},
      {{{"ParserFilename", "default.ktp"}, {"CopyParserFilename", "default.ktp"}},
       "HTTP_Parser_Copy attempting to overwrite default template"},
      {{{"ParserFilename", longest + "n"}, {"CopyParserFilename", "c"}}, "Couldn't copy template!"},
      {{{"ParserFilename", "p"}, {"CopyParserFilename", longest + "nn"}},
       "Couldn't copy template!"},
      {{{"ParserFilename", "p"}, {"CopyParserFilenameMailbox", longest + "n"}},
       "Couldn't copy template!"},
  };
  for (const auto& [fields, text] : rows) {
    Request request(fields);
    journal().clear();
    EXPECT_EQ(restore(request), 1);
    EXPECT_EQ(journal().calls(), Lines{});
    const Lines logs = journal().logs();
    EXPECT_EQ(Lines(logs.end() - 2, logs.end()), (Lines{parser_log(3, text), left(kRestore)}));
    EXPECT_EQ(request.reason(), "");
  }
  Request request{{"ParserFilename", longest}, {"CopyParserFilename", longest + "n"}};
  EXPECT_EQ(restore(request), 0);
}

TEST_F(Restore, FailedCopyTellsBothPaths) {
  scripted_store().results["CopyCKwtTemplate"] = {KWTERR_FILE_OPEN};
  Request request{{"ParserFilename", "p"}, {"CopyParserFilename", "c"}};
  EXPECT_EQ(restore(request), 1);
  EXPECT_EQ(request.reason(),
            "Couldn't Copy Template from: /tmp/template/pool/factory/p to "
            "/tmp/template/pool/system/c.\r\n");
}

TEST_F(Restore, KeepsNoSourceOverAThousandCalls) {
  Request request{{"ParserFilename", "p"}, {"ParserFilename", "q"}, {"CopyParserFilename", "c"}};
  restore(request);  // the first call fills the test's own tables
  journal().pause();
  const long before = held_blocks();
  for (int turn = 0; turn < 1000; ++turn) restore(request);
  EXPECT_EQ(held_blocks(), before);
  journal().resume();
}

TEST_F(RestoreDeathTest, NullParametersEndTheProcess) {
  Request request;
  const Lines fatal = {entered(kRestore), parser_log(3, "Invalid NULL parameter! Exiting!")};
  EXPECT_FATAL(parser().HTTP_Parser_Restore_Defaults_fn(nullptr, request.entries(), 0), fatal);
  EXPECT_FATAL(parser().HTTP_Parser_Restore_Defaults_fn(request.record(), nullptr, 0), fatal);
}

TEST_F(RestoreDeathTest, ExhaustedHeapEndsTheProcessWithTheTextOfItsBuffer) {
  const std::tuple<long, const char*> rows[] = {{1, "malloc failed! Exiting!"},
                                                {2, "malloc failed! Exiting!"},
                                                {3, "QALOCN failed! Exiting!"}};
  for (const auto& [n, text] : rows) {
    Request request{{"ParserFilename", "p"}, {"CopyParserFilename", "c"}};
    EXPECT_EXIT(
        {
          journal().echo();
          fail_allocation(n, Allocator::module);
          restore(request);
        },
        testing::ExitedWithCode(1), "log " + parser_log(3, text) + "\n$");
  }
}

}  // namespace
