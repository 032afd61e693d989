// Tests of finding a script's strings.
// SPDX-License-Identifier: MIT
#include "script_strings.h"

#include <gtest/gtest.h>

#include <string>

namespace platen {
namespace {

using Spans = std::vector<ScriptSpan> ScriptStrings::*;

// The texts of the spans of one kind.
std::vector<std::string> texts_of(const std::string& script, Spans kind) {
  const ScriptStrings found = find_script_strings(script);
  EXPECT_FALSE(found.unclosed) << script;
  std::vector<std::string> out;
  for (const ScriptSpan& span : found.*kind) {
    out.push_back(script.substr(span.begin, span.end - span.begin));
  }
  return out;
}

TEST(ScriptStrings, AreToldFromEverythingThatLooksAlike) {
  const std::vector<std::pair<std::string, std::vector<std::string>>> rows = {
      {"", {}},
      {"var a = \"x\" + 'y';", {"x", "y"}},
      {R"(a = "q\"'r" + 'q\'"r\\')", {"q\\\"'r", "q\\'\"r\\\\"}},
      {"a = '';", {""}},
      {"// don't\nb('x')", {"x"}},
      {"// don't", {}},
      {"/* it's */ b('x')", {"x"}},
      {"a <!-- don't\nb('x')", {"x"}},
      {"a = `it's \\` ${f('x', `'${\"y\"}'`)} '` + 'z'", {"x", "y", "z"}},
      {"a = `${ {b: '{'} }`+'x'", {"{", "x"}},
      {"a = `cost: $5 $` + 'x'", {"x"}},
      {"a = /'/; b('x')", {"x"}},
      {"f(/[/'\\]]'/g, 'x')", {"x"}},
      {"return /\"/.test('x')", {"x"}},
      {"a = b / c; d('x') / 2", {"x"}},
      {"a = f(b) / 2 + 'x' / 'y'", {"x", "y"}},
      {"a = b[0] / 2 + 'x'", {"x"}},
      {"a = i++ / 2 + 'x' / 3", {"x"}},
      {"a = 4 / 2 / 'x'", {"x"}},
      {"if (a) {}\n/'/.test('x')", {"x"}},
      {"a = /x/ / 'y'", {"y"}},
      {"a = 'x\\\ny'", {"x\\\ny"}},
  };
  for (const auto& [script, strings] : rows)
    EXPECT_EQ(texts_of(script, &ScriptStrings::strings), strings) << script;
}

TEST(ScriptStrings, AreBesideTheFirstWordsOfStatements) {
  const std::vector<std::pair<std::string, std::vector<std::string>>> rows = {
      {"", {}},
      {"a = b", {"a"}},
      {"a;b c;\n(d);e", {"a", "b", "e"}},
      {"// a;b\nc /* d */; /* e;f */ g", {"c", "g"}},
      {"function f() { a; b = 1 } c", {"function", "a", "b", "c"}},
      {"f(';a;'); b = /;c;/; d", {"f", "b", "d"}},
      {"`;a; ${b;c} ;d` + e; f", {"f"}},
      {"if (a) b; else c", {"if", "else"}},
  };
  for (const auto& [script, words] : rows) {
    EXPECT_EQ(texts_of(script, &ScriptStrings::statements), words) << script;
  }
}

TEST(ScriptStrings, TellWhereSomethingIsNotClosed) {
  const std::vector<std::pair<std::string, size_t>> rows = {
      {"a = 'x", 4},       {"a = 'x\n'", 4}, {"a = \"x\\", 4}, {"f(`x", 2},      {"f(`x${a", 2},
      {"f(`x${'y'} z", 2}, {"a /* x", 2},    {"a = /x\n/", 4}, {"a = /[/]x", 4},
  };
  for (const auto& [script, begin] : rows) {
    const ScriptStrings found = find_script_strings(script);
    ASSERT_TRUE(found.unclosed) << script;
    EXPECT_EQ(*found.unclosed, begin) << script;
  }
}

}  // namespace
}  // namespace platen
