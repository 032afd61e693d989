// Tests of the tag syntax.
// SPDX-License-Identifier: MIT
#include "page_source.h"

#include <gtest/gtest.h>

namespace platen {
namespace {

// One line for a piece: its position, and its text or its tag as it was understood.
std::string described(const SourcePiece& piece) {
  std::string out = std::to_string(piece.at.line) + ":" + std::to_string(piece.at.column) + " ";
  if (!piece.tag) return out + "'" + piece.text + "'";
  out += piece.tag->name;
  for (const SourceAttribute& attribute : piece.tag->attributes) {
    out += " " + attribute.name + "=[" + attribute.value + "]";
  }
  return out;
}

std::vector<std::string> described(const PageSource& source) {
  std::vector<std::string> out;
  for (const SourcePiece& piece : source.pieces) out.push_back(described(piece));
  return out;
}

TEST(PageSource, SplitsTextAndTags) {
  const std::vector<std::pair<std::string, std::vector<std::string>>> rows = {
      {"", {}},
      {"plain\n<!-- a comment -->", {"1:1 'plain\n<!-- a comment -->'"}},
      {"<!--#reason-->", {"1:1 reason"}},
      {"a<!--#reason-->b", {"1:1 'a'", "1:2 reason", "1:16 'b'"}},
      {"a\nb\n  <!--#reason--><!--#reason-->", {"1:1 'a\nb\n  '", "3:3 reason", "3:17 reason"}},
      {"<!--#a x=\"1\" y=\"\"-->", {"1:1 a x=[1] y=[]"}},
      {"<!--#a\n\tx=\"1\"\r\n  y=\"2\" \n-->z", {"1:1 a x=[1] y=[2]", "4:4 'z'"}},
      {"<!--#a x=\"&quot;b&quot; &amp;quot; R&D &lt;\"-->", {"1:1 a x=[\"b\" &quot; R&D &lt;]"}},
      {"<!--#a x=\"-->\"-->", {"1:1 a x=[-->]"}},
      {"<!--#a x=\"'\"-->", {"1:1 a x=[']"}},
  };
  for (const auto& [text, pieces] : rows) {
    const PageSource source = parse_page_source("p", text);
    EXPECT_FALSE(source.fault) << text << ": " << source.fault->reason;
    EXPECT_EQ(described(source), pieces) << text;
  }
}

TEST(PageSource, TellsWhereATagIsBroken) {
  const std::string shape =
      " takes attributes such as name=\"value\", with a blank before each, and ends with \"-->\"";
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"<!--#", "p:1:6: a tag needs a name after \"<!--#\""},
      {"ab\n <!--#-->", "p:2:7: a tag needs a name after \"<!--#\""},
      {"<!--# reason-->", "p:1:6: a tag needs a name after \"<!--#\""},
      {"x\n\n <!--#reason", "p:3:2: the tag is not closed; a tag ends with \"-->\""},
      {"<!--#reason --", "p:1:13: the tag reason" + shape},
      {"<!--#reason->", "p:1:12: the tag reason" + shape},
      {"<!--#reason a=\"1\"", "p:1:1: the tag is not closed; a tag ends with \"-->\""},
      {"<!--#reason a=\"1\"b=\"2\"-->", "p:1:18: the tag reason" + shape},
      {"<!--#reason \"x\"-->", "p:1:13: the tag reason" + shape},
      {"<!--#reason a-->", "p:1:13: the attribute a needs a value in double quotes: a=\"...\""},
      {"<!--#reason a='1'-->", "p:1:13: the attribute a needs a value in double quotes: a=\"...\""},
      {"<!--#reason a = \"1\"-->",
       "p:1:13: the attribute a needs a value in double quotes: a=\"...\""},
      {"<!--#reason a=\"1-->\nb\"",
       "p:1:13: the value of a is not closed by a double quote on its line"},
      {"<!--#reason a=\"1-->",
       "p:1:13: the value of a is not closed by a double quote on its line"},
      {"<!--#reason a=\"1\" a=\"2\"-->", "p:1:19: the attribute a is given twice"},
  };
  for (const auto& [text, fault] : rows) {
    const PageSource source = parse_page_source("p", text);
    ASSERT_TRUE(source.fault) << text;
    EXPECT_EQ(fault_text(*source.fault), fault) << text;
  }
}

TEST(PageSource, KeepsWhatStandsBeforeABrokenTag) {
  const PageSource source = parse_page_source("p", "a<!--#reason-->b<!--#");
  EXPECT_EQ(described(source), (std::vector<std::string>{"1:1 'a'", "1:2 reason", "1:16 'b'"}));
}

TEST(Position, CountsLinesAndBytesFromOne) {
  const Position start{"p", 2, 5};
  const std::vector<std::tuple<std::string, int, int>> rows = {
      {"", 2, 5}, {"ab", 2, 7}, {"a\n", 3, 1}, {"\n\nab", 4, 3}, {"\xC3\xA4", 2, 7}};
  for (const auto& [text, line, column] : rows) {
    const Position end = position_after(start, text);
    EXPECT_EQ(end.file, "p");
    EXPECT_EQ(end.line, line) << text;
    EXPECT_EQ(end.column, column) << text;
  }
}

}  // namespace
}  // namespace platen
