// Copy and delete of template files: refusals, store calls and texts in their order.
// SPDX-License-Identifier: MIT
#include <tuple>

#include "calls_fixture.h"

namespace {

constexpr char kCopy[] = "HTTP_Parser_Copy_fn";
constexpr char kDelete[] = "HTTP_Parser_Delete_fn";
constexpr char kDefaultTemplate[] = "/tmp/template/pool/system/default.ktp";
constexpr char kSource[] = "/tmp/template/pool/web/A.KTP";

using Copy = ModuleCalls;
using Delete = ModuleCalls;
using CopyDeathTest = ModuleCalls;

int copy(Request& request) {
  return parser().HTTP_Parser_Copy_fn(request.record(), request.entries(), request.count());
}

int remove(Request& request) {
  return parser().HTTP_Parser_Delete_fn(request.record(), request.entries(), request.count());
}

TEST_F(Copy, CopiesOpensNamesAndSaves) {
  Request request{{"ParserFilename", kSource}, {"CopyParserFilename", "B.KTP"}};
  EXPECT_EQ(copy(request), 0);
  const std::string to = "/tmp/template/pool/web/B.KTP";
  EXPECT_EQ(journal().lines(),
            joined({{"log " + entered(kCopy),
                     "log " + parser_log(102, std::string("Setting copyFrom to ") + kSource),
                     "log " + parser_log(102, "Setting copyTo to B.KTP"),
                     "log " + parser_log(102, "copyTo = " + to),
                     "log " + parser_log(102, std::string("copyFrom = ") + kSource),
                     "log " + parser_log(102, "copyTo = " + to),
                     "CopyCKwtTemplate('" + std::string(kSource) + "', '" + to + "')"},
                    opening(to, 2),
                    {naming_call("B.KTP")},
                    closing(1, hidden_field(to)),
                    {"log " + left(kCopy)}}));
  EXPECT_EQ(request->parserTemplate, nullptr);
  EXPECT_EQ(request.reason(), "");
}

TEST_F(Copy, TakesTheLaterSourceAndTheLaterDestination) {
  const std::tuple<Fields, const char*, const char*> rows[] = {
      {{{"ParserFilename", "/p"}, {"DefaultParserFilename", "/d"}, {"CopyParserFilename", "c"}},
       "/d",
       "/tmp/template/pool/web/c"},
      {{{"DefaultParserFilename", "/d"}, {"ParserFilename", "/p"}, {"CopyParserFilename", "c"}},
       "/p",
       "/tmp/template/pool/web/c"},
      {{{"CopyParserFilenameMailbox", "M.KTP"}, {"ParserFilename", "/p"}},
       "/p",
       "/tmp/template/pool/mailbox/M.KTP"},
      {{{"CopyParserFilename", "c"}, {"ParserFilename", "/p"}, {"CopyParserFilenameMailbox", "m"}},
       "/p",
       "/tmp/template/pool/mailbox/m"},
      {{{"CopyParserFilenameMailbox", "m"}, {"CopyParserFilename", "c"}, {"ParserFilename", "/p"}},
       "/p",
       "/tmp/template/pool/web/c"},
      {{{"ParserFilename", "/p"}, {"CopyParserFilename", ""}}, "/p", "/tmp/template/pool/web/"},
  };
  for (const auto& [fields, from, to] : rows) {
    const ExpectedLeak earlier_destination;
    Request request(fields);
    journal().clear();
    EXPECT_EQ(copy(request), 0);
    EXPECT_EQ(journal().calls().front(),
              "CopyCKwtTemplate('" + std::string(from) + "', '" + to + "')");
  }
}

TEST_F(Copy, LogsEachFieldAsItIsRead) {
  scripted_store().results["CopyCKwtTemplate"] = {KWTERR_FILE_OPEN};
  Request request{{"DefaultParserFilename", "/d"},
                  {"CopyParserFilenameMailbox", "m"},
                  {"ParserFilename", "/p"}};
  EXPECT_EQ(copy(request), 1);
  EXPECT_EQ(journal().logs(),
            (Lines{entered(kCopy), parser_log(102, "Using default: Setting copyFrom to /d"),
                   parser_log(102, "Setting copyTo to m"),
                   parser_log(102, "copyTo = /tmp/template/pool/mailbox/m"),
                   parser_log(102, "Setting copyFrom to /p"), parser_log(102, "copyFrom = /p"),
                   parser_log(102, "copyTo = /tmp/template/pool/mailbox/m"),
                   parser_log(3, "Couldn't copy template!"), left(kCopy)}));
}

TEST_F(Copy, WithoutASourceIsRefused) {
  Request request{{"CopyParserFilename", "B.KTP"}};
  EXPECT_EQ(copy(request), 1);
  EXPECT_EQ(journal().lines(),
            (Lines{"log " + entered(kCopy), "log " + parser_log(102, "Setting copyTo to B.KTP"),
                   "log " + parser_log(102, "copyTo = /tmp/template/pool/web/B.KTP"),
                   "log " + parser_log(3, "copyFrom == NULL"), "log " + left(kCopy)}));
  EXPECT_EQ(request.reason(), "");
}

TEST_F(Copy, WithoutADestinationIsNamedAfterItsSource) {
  Request request{{"ParserFilename", kSource}};
  EXPECT_EQ(copy(request), 0);
  EXPECT_EQ(journal().calls(),
            (Lines{"CopyCKwtTemplate('" + std::string(kSource) + "', '(Copy)" + kSource + "')",
                   "CKwtTemplate(tpl)", naming_call("A.KTP"), "GetFileName(tpl)", "Close(tpl, 1)",
                   "DestructorCKwtTemplate(tpl)"}));
}

TEST_F(Copy, WritesAWholeNameWithoutADirectory) {
  Request request{{"ParserFilename", "plain"}};
  EXPECT_EQ(copy(request), 0);
  EXPECT_EQ(journal().calls().at(2), naming_call("(Copy)plain"));
}

TEST_F(Copy, OfTheDefaultTemplateIsAllowed) {
  Request request{{"ParserFilename", kDefaultTemplate}, {"CopyParserFilename", "mine.KTP"}};
  EXPECT_EQ(copy(request), 0);
}

TEST_F(Copy, DestinationPathFitsUpTo254Bytes) {
  const std::string directory = "/tmp/template/pool/web/";
  for (const std::size_t length : {253U, 254U, 255U, 256U, 300U}) {
    SCOPED_TRACE(length);
    const std::string name(length - directory.size(), 'n');
    const std::string path = directory + name;
    Request request{{"ParserFilename", "/p"}, {"CopyParserFilename", name}};
    journal().clear();
    const bool fits = length <= 254;
    EXPECT_EQ(copy(request), fits ? 0 : 1);
    if (fits) {
      EXPECT_EQ(journal().calls().front(), "CopyCKwtTemplate('/p', '" + path + "')");
      continue;
    }
    EXPECT_EQ(journal().lines(),
              (Lines{"log " + entered(kCopy), "log " + parser_log(102, "Setting copyFrom to /p"),
                     "log " + parser_log(102, "Setting copyTo to " + name),
                     "log " + parser_log(3, "Couldn't copy template!"), "log " + left(kCopy)}));
    EXPECT_EQ(request.reason(), "");
  }
}

TEST_F(Copy, FailedCopyTellsBothPaths) {
  scripted_store().results["CopyCKwtTemplate"] = {KWTERR_FILE_OPEN};
  Request request{{"ParserFilename", "/p"}, {"CopyParserFilename", "c"}};
  EXPECT_EQ(copy(request), 1);
  EXPECT_EQ(request.reason(), "Couldn't Copy Template from: /p to /tmp/template/pool/web/c.\r\n");
  EXPECT_EQ(journal().calls(), (Lines{"CopyCKwtTemplate('/p', '/tmp/template/pool/web/c')"}));
  const Lines logs = journal().logs();
  EXPECT_EQ(logs.at(logs.size() - 2), parser_log(3, "Couldn't copy template!"));
  EXPECT_EQ(logs.back(), left(kCopy));
}

TEST_F(Copy, ReasonOfAFailedCopyEndsWithinItsField) {
  const std::string destination = " to /tmp/template/pool/web/c.\r\n";
  const std::string start = "Couldn't Copy Template from: ";
  for (const std::size_t total : {199U, 200U, 201U, 400U}) {
    scripted_store().results["CopyCKwtTemplate"] = {KWTERR_FILE_OPEN};
    const std::string from = padded("/p", total - start.size() - destination.size());
    Request request{{"ParserFilename", from}, {"CopyParserFilename", "c"}};
    request->queue = reinterpret_cast<Ipc_queue*>(&request);
    EXPECT_EQ(copy(request), 1);
    const std::string whole = start + from;
    EXPECT_EQ(request.reason(), (whole + destination).substr(0, 200));
    EXPECT_EQ(request->queue, reinterpret_cast<Ipc_queue*>(&request));
  }
}

TEST_F(Copy, FailedNameIsAFailedCopy) {
  scripted_store().results["WriteAttributeStringWInvoc"] = {FALSE};
  Request request{{"ParserFilename", "/p"}, {"CopyParserFilename", "c"}};
  EXPECT_EQ(copy(request), 1);
  EXPECT_EQ(request.reason(), "Couldn't Copy Template from: /p to /tmp/template/pool/web/c.\r\n");
  EXPECT_EQ(journal().calls().at(5), "Close(tpl, 1)");
  EXPECT_EQ(request->parserTemplate, nullptr);
}

TEST_F(Copy, ThatCannotBeReopenedIsDoneWithoutAName) {
  scripted_store().results["Open"] = {0};
  scripted_store().error_after_open = KWTERR_FILE_OPEN;
  Request request{{"ParserFilename", "/p"}, {"CopyParserFilename", "c"}};
  EXPECT_EQ(copy(request), 0);
  EXPECT_EQ(journal().calls(),
            (Lines{"CopyCKwtTemplate('/p', '/tmp/template/pool/web/c')", "CKwtTemplate(tpl)",
                   "Open(tpl, '/tmp/template/pool/web/c', 2)", "GetFileName(tpl)", "Close(tpl, 1)",
                   "DestructorCKwtTemplate(tpl)"}));
}

TEST_F(Copy, ClosesTheTemplateOfTheRequestWithoutSaving) {
  Request request{{"ParserFilename", "/p"}, {"CopyParserFilename", "c"}};
  open(request);
  EXPECT_EQ(copy(request), 0);
  EXPECT_EQ(journal().calls().at(2), "Close(tpl, 0)");
}

TEST_F(Copy, KeepsOnlyTheBufferOfAnEarlierDestination) {
  Request once{{"ParserFilename", "/p"}, {"CopyParserFilename", "c"}};
  Request twice{{"ParserFilename", "/p"}, {"CopyParserFilename", "c"}, {"CopyParserFilename", "d"}};
  journal().pause();
  const ExpectedLeak earlier_destination;
  const auto kept = [](Request& request) {
    copy(request);  // the first call fills the test's own tables
    const long before = held_blocks();
    for (int turn = 0; turn < 1000; ++turn) copy(request);
    return held_blocks() - before;
  };
  EXPECT_EQ(kept(once), 0);
  EXPECT_EQ(kept(twice), 1000);
  journal().resume();
}

TEST_F(CopyDeathTest, ExhaustedHeapEndsTheProcessWithTheTextOfItsBuffer) {
  const std::tuple<Fields, long, const char*> rows[] = {
      {{{"ParserFilename", "/p"}, {"CopyParserFilename", "c"}}, 1, "malloc failed! Exiting!"},
      {{{"ParserFilename", "/p"}, {"CopyParserFilenameMailbox", "c"}},
       1,
       "malloc failed! Exiting!"},
      {{{"ParserFilename", "/p"}}, 1, "QALOCN failed! Exiting!"},
      {{{"ParserFilename", "/p"}, {"CopyParserFilename", "c"}}, 2, "QALOCN failed! Exiting!"},
      {{{"ParserFilename", "/p"}, {"CopyParserFilename", "c"}},
       3,
       "Could not allocate memory for udata->parserTemplate!"},
  };
  for (const auto& [fields, n, text] : rows) {
    Request request(fields);
    EXPECT_EXIT(
        {
          journal().echo();
          fail_allocation(n, Allocator::module);
          copy(request);
        },
        testing::ExitedWithCode(1), "log " + parser_log(3, text) + "\n$");
  }
}

TEST_F(Delete, DeletesTheFirstNamedFile) {
  Request request{{"Other", "x"}, {"ParserFilename", kSource}, {"ParserFilename", "/etc/x"}};
  EXPECT_EQ(remove(request), 0);
  EXPECT_EQ(journal().lines(), (Lines{"log " + entered(kDelete),
                                      "DeleteCKwtTemplateWFilename('" + std::string(kSource) + "')",
                                      "log " + left(kDelete)}));
}

TEST_F(Delete, ReportsWhatTheStoreCouldNotDelete) {
  for (const int answer : {0, 2, -1}) {
    scripted_store().results["DeleteCKwtTemplateWFilename"] = {answer};
    Request request{{"ParserFilename", kSource}};
    EXPECT_EQ(remove(request), 1) << answer;
  }
}

TEST_F(Delete, RefusesBeforeItDeletes) {
  const std::tuple<Fields, const char*> rows[] = {
      {Fields{}, "Filename not found in entries!"},
      {{{"DefaultParserFilename", kSource}}, "Filename not found in entries!"},
      {{{"ParserFilename", "/etc/passwd"}}, "*** Invalid template path!"},
      {{{"ParserFilename", ""}}, "*** Invalid template path!"},
      {{{"ParserFilename", "/tmp/template/pool/../x"}}, "*** Invalid template path!"},
      {{{"ParserFilename", kDefaultTemplate}}, "HTTP_Parser_Delete called on default template!"},
  };
  for (const auto& [fields, text] : rows) {
    Request request(fields);
    journal().clear();
    EXPECT_EQ(remove(request), 1);
    EXPECT_EQ(journal().lines(), (Lines{"log " + entered(kDelete), "log " + parser_log(3, text),
                                        "log " + left(kDelete)}));
  }
}

TEST_F(Delete, AnotherSpellingOfTheDefaultTemplateIsNotCaught) {
  Request request{{"ParserFilename", "/tmp/template/pool/system//default.ktp"}};
  EXPECT_EQ(remove(request), 0);
}

}  // namespace
