// The file format: what parses to what, what is refused where, and what edits do to the bytes.
// SPDX-License-Identifier: MIT
#include "template_syntax.h"

#include <gtest/gtest.h>

#include <memory_resource>
#include <string>
#include <string_view>
#include <vector>

#include "template_document.h"

namespace store {
namespace {

using std::string_literals::operator""s;

struct Parsed {
  std::pmr::monotonic_buffer_resource memory;
  Document document{&memory};
  Status status;
  std::string bytes;

  explicit Parsed(std::string text) : bytes(std::move(text)) {
    status = parse(bytes, document.entries());
  }
};

// One word per entry: s(ervice), i(nvocation), a(ttribute) with type and "!", v(alue).
std::string shape(const Document& document) {
  constexpr std::string_view kLetters = "siav";
  std::string text;
  for (const Entry& entry : document.entries()) {
    text += kLetters[static_cast<std::size_t>(entry.kind)];
    text += "<" + entry.text.decoded();
    if (entry.kind == Kind::kAttribute) text += "|" + entry.type.decoded();
    if (entry.compulsory) text += "!";
    text += ">";
  }
  return text;
}

TEST(Parse, ReadsEveryFormOfLine) {
  const std::pair<std::string, std::string> rows[] = {
      {"", ""},
      {"\n\n", ""},
      {"# only a comment", ""},
      {"  \t# blanks before it", ""},
      {"[service a]", "s<a>"},
      {"[service a]\n", "s<a>"},
      {"\xEF\xBB\xBF[service a]\n", "s<a>"},
      {"\t[ service\t a b ] \n", "s<a b>"},
      {"[service a]]\n", "s<a]>"},
      {"[service a]\n[invocation b]\nc (d)\n", "s<a>i<b>a<c|d>"},
      {"[service a]\n[invocation b]\nc (d) =\n", "s<a>i<b>a<c|d>v<>"},
      {"[service a]\n[invocation b]\nc(d)=e\n", "s<a>i<b>a<c|d>v<e>"},
      {"[service a]\n[invocation b]\nc d ( e , compulsory ) =  f g \t\n",
       "s<a>i<b>a<c d|e!>v<f g>"},
      {"[service a]\n[invocation b]\nc (d)\n= 1\n# between\n\n=2\n= \n",
       "s<a>i<b>a<c|d>v<1>v<2>v<>"},
      {"[service a]\n[invocation b]\nc (d) = 1\n= 2\n", "s<a>i<b>a<c|d>v<1>v<2>"},
      {"[service a]\r\n[invocation b]\r\nc (d) = 1\r\n= 2\r\n", "s<a>i<b>a<c|d>v<1>v<2>"},
      {"[service a]\n[invocation b]\nc (d) = 1\r", "s<a>i<b>a<c|d>v<1>"},
      {"[service a]\n[invocation b]\nc (d) = x \"y\" # (z) = [w]\n",
       "s<a>i<b>a<c|d>v<x \"y\" # (z) = [w]>"},
      {"[service a]\n[invocation b]\nc (d) = \\x20\\t\\n\\r\\\\\\xfF\n",
       "s<a>i<b>a<c|d>v< \t\n\r\\\xFF>"},
      {"[service \\x5D]\n[invocation \\x20]\n\\x23 (\\x29)\n", "s<]>i< >a<#|)>"},
      {"[service a]\n[service b]\n[invocation a]\nx (t)\n[invocation b]\nx (t)\n",
       "s<a>s<b>i<a>a<x|t>i<b>a<x|t>"},
      {"[service a]\n[invocation b]\nservice (d) = 1\ncompulsory (e) = 2\n",
       "s<a>i<b>a<service|d>v<1>a<compulsory|e>v<2>"},
  };
  for (const auto& [text, expected] : rows) {
    Parsed parsed(text);
    EXPECT_TRUE(parsed.status.ok()) << text << ": " << parsed.status.reason;
    EXPECT_EQ(shape(parsed.document), expected) << text;
  }
}

TEST(Parse, RefusesWhatItDoesNotKnowWithLineColumnAndReason) {
  const std::string in_invocation = "[service a]\n[invocation b]\n";
  struct Row {
    std::string text, place, reason;
  };
  const Row rows[] = {
      {"x", "1:1", "an attribute needs an invocation above it"},
      {"# c\n  x (t) = 1", "2:3", "an attribute needs an invocation above it"},
      {"[service a]\nx (t) = 1", "2:1", "an attribute needs an invocation above it"},
      {"= 1", "1:1", "a value needs an attribute above it"},
      {in_invocation + "  = 1", "3:3", "a value needs an attribute above it"},
      {"[invocation b]", "1:1", "an invocation needs a service above it"},
      {"[service a", "1:11", "a line that begins with \"[\" ends with \"]\""},
      {"[", "1:2", "a line that begins with \"[\" ends with \"]\""},
      {"[]", "1:2", "only \"service\" or \"invocation\" may stand here"},
      {"[Service a]", "1:2", "only \"service\" or \"invocation\" may stand here"},
      {"[servicea]", "1:2", "only \"service\" or \"invocation\" may stand here"},
      {"[service]", "1:9", "a name is missing here"},
      {"[service  ]", "1:11", "a name is missing here"},
      {in_invocation + "x", "3:1", "this is no line of the form NAME (TYPE) = VALUE"},
      {in_invocation + "(t) = 1", "3:1", "a name is missing before the type"},
      {in_invocation + "x (t = 1", "3:3", "this parenthesis is not closed"},
      {in_invocation + "x () = 1", "3:4", "a type is missing here"},
      {in_invocation + "x (,compulsory) = 1", "3:4", "a type is missing here"},
      {in_invocation + "x (t, optional)", "3:7", "only \"compulsory\" may follow the type"},
      {in_invocation + "x (t,)", "3:6", "only \"compulsory\" may follow the type"},
      {in_invocation + "x (t) y", "3:7", "only \"=\" and a value may follow the type"},
      {in_invocation + "x (t) = \\q", "3:9", "unknown escape; a backslash itself is written \\\\"},
      {in_invocation + "x (t) = a\\", "3:10", "unknown escape; a backslash itself is written \\\\"},
      {in_invocation + "x (t) = \\x4", "3:9", "unknown escape; a backslash itself is written \\\\"},
      {in_invocation + "x (t) = \\xg0", "3:9", "unknown escape; a backslash itself is written \\\\"},
      {in_invocation + "x (t) = \\x0`", "3:9", "unknown escape; a backslash itself is written \\\\"},
      {in_invocation + "x (t) = \\x00", "3:9",
       "unknown escape; a backslash itself is written \\\\"},
      {"[service \\s]", "1:10", "unknown escape; a backslash itself is written \\\\"},
      {in_invocation + "x\\ (t)", "3:2", "unknown escape; a backslash itself is written \\\\"},
      {in_invocation + "x (\\y)", "3:4", "unknown escape; a backslash itself is written \\\\"},
      {"[service a]\n\n[service a]", "3:10", "this name is already used above"},
      {in_invocation + "[invocation \\x62]", "3:13", "this name is already used above"},
      {in_invocation + "x (t)\ny (t)\nx (u)", "5:1", "this name is already used above"},
      {"[service a]\n[invocation " + std::string(256, 'n') + "]", "2:13",
       "the name of an invocation has at most 255 bytes"},
      {"# c\nab\0c"s, "2:3", "a NUL byte"},
  };
  for (const Row& row : rows) {
    Parsed parsed(row.text);
    ASSERT_EQ(parsed.status.code, Code::kSyntax) << row.text;
    EXPECT_EQ(std::to_string(parsed.status.line) + ":" + std::to_string(parsed.status.column),
              row.place)
        << row.text;
    EXPECT_EQ(parsed.status.reason, row.reason) << row.text;
  }
}

TEST(Parse, TakesAnInvocationNameOf255BytesHoweverItIsEscaped) {
  std::string escaped;
  for (int i = 0; i < 255; ++i) escaped += "\\x41";
  Parsed parsed("[service a]\n[invocation " + escaped + "]");
  ASSERT_TRUE(parsed.status.ok());
  EXPECT_EQ(parsed.document.entries()[1].text.decoded(), std::string(255, 'A'));
}

TEST(Parse, FindsRepeatedNamesAmongManyAndInNoOtherPlace) {
  std::string text;
  for (int service = 0; service < 40; ++service) {
    text += "[service s" + std::to_string(service) + "]\n";
    for (int i = 0; i < 40; ++i) text += "[invocation i" + std::to_string(i) + "]\nname (t)\n";
  }
  EXPECT_TRUE(Parsed(text).status.ok());
  Parsed repeated(text + "[invocation i39]\n");
  EXPECT_EQ(repeated.status.line, 40U * 81U + 1U);
}

// Every byte but NUL, at the edges and inside, in each place where a text can stand.
TEST(Render, WritesTextsThatReadBackTheSameInEveryPlace) {
  for (int byte = 1; byte < 256; ++byte) {
    for (const std::string& frame : {""s, "a"s}) {
      std::string text = frame + static_cast<char>(byte) + frame;
      std::pmr::monotonic_buffer_resource memory;
      Document document(&memory);
      Edit edit{Operation::kSet, text, {}, text, text, text, Mark::kSet};
      ASSERT_TRUE(document.apply(edit, Absent::kRefuse).ok());
      std::string bytes = render("", Entries(&memory), document.entries());
      Parsed parsed(bytes);
      ASSERT_TRUE(parsed.status.ok()) << bytes << parsed.status.reason;
      EXPECT_EQ(shape(parsed.document), shape(document)) << bytes;
    }
  }
}

TEST(Render, KeepsUtf8AndEscapesOtherBytes) {
  const std::pair<std::string, std::string> rows[] = {
      {"B\xC3\xBCro \xE2\x82\xAC \xF0\x9F\x98\x80", "B\xC3\xBCro \xE2\x82\xAC \xF0\x9F\x98\x80"},
      {"\xC3", "\\xC3"},
      {"\xC3\x28", "\\xC3("},
      {"\xE0\x80\x80", "\\xE0\\x80\\x80"},
      {"\xED\xA0\x80", "\\xED\\xA0\\x80"},
      {"\xF5\x80\x80\x80", "\\xF5\\x80\\x80\\x80"},
      {"\x01\x7F", "\\x01\\x7F"},
      {" a b ", "\\x20a b\\x20"},
      {"a\tb\nc\rd\\", "a\\tb\\nc\\rd\\\\"},
  };
  for (const auto& [plain, expected] : rows) {
    std::string out;
    append_encoded(out, plain, Place::kValue);
    EXPECT_EQ(out, expected);
  }
}

// The file of the splice tests: hand-written, with its own habits of blanks and comments.
constexpr std::string_view kByHand =
    "# colour\n"
    "[service  general]   \n"
    "\t[invocation one]\n"
    "Name(string)=old   \n"
    "\n"
    "# phones\n"
    " List (string, compulsory) = 1\n"
    "   = 2\n"
    "# after two\n"
    "   = 3\n"
    " Plain (t)\n"
    "# end of one\n"
    "[service last]\n"
    "# bye";

Edit set(std::string_view service, std::string_view attribute, std::string_view value) {
  return {Operation::kSet, service, {}, attribute, {}, value, Mark::kKeep};
}
Edit add(std::string_view service, std::string_view attribute, std::string_view value) {
  return {Operation::kAdd, service, {}, attribute, {}, value, Mark::kKeep};
}
Edit remove(std::string_view attribute, std::string_view value) {
  return {Operation::kRemoveValue, "general", {}, attribute, {}, value, Mark::kKeep};
}
Edit drop(Operation operation, std::string_view service, std::string_view attribute) {
  return {operation, service, {}, attribute, {}, {}, Mark::kKeep};
}

std::string after(std::string_view bytes, const std::vector<Edit>& edits) {
  Parsed parsed{std::string(bytes)};
  EXPECT_TRUE(parsed.status.ok()) << parsed.status.reason;
  Entries before = parsed.document.entries();
  for (const Edit& edit : edits) {
    EXPECT_TRUE(parsed.document.apply(edit, Absent::kRefuse).ok());
  }
  parsed.document.adopt(before);
  std::string result = render(parsed.bytes, before, parsed.document.entries());
  Parsed again(result);
  EXPECT_TRUE(again.status.ok()) << result;
  EXPECT_EQ(shape(again.document), shape(parsed.document)) << result;
  return result;
}

std::string by_hand_with(std::string_view part, std::string_view replacement) {
  std::string text(kByHand);
  return text.replace(text.find(part), part.size(), replacement);
}

TEST(Render, ChangesNothingWithoutEdits) { EXPECT_EQ(after(kByHand, {}), kByHand); }

TEST(Render, SplicesOnlyWhatChanged) {
  struct Row {
    std::vector<Edit> edits;
    std::string_view part, replacement;
  };
  const Row rows[] = {
      {{set("general", "Name", "new")}, "=old", "= new"},
      {{set("general", "Name", "new"), set("general", "Name", "old")}, "", ""},
      {{set("general", "Name", "old")}, "", ""},
      {{set("general", "List", "1"), add("general", "List", "2"), add("general", "List", "3")},
       "",
       ""},
      {{set("general", "List", "1"), add("general", "List", "5"), add("general", "List", "3")},
       "   = 2\n",
       "      = 5\n"},
      {{drop(Operation::kRemoveAttribute, "general", "Plain"),
        {Operation::kSet, "general", {}, "Plain", "t", "x", Mark::kKeep}},
       "Plain (t)",
       "Plain (t) = x"},
      {{drop(Operation::kRemoveService, "last", ""), set("last", "A", "1")},
       "[service last]\n",
       "[service last]\n  [invocation last_1]\n    A (string) = 1\n"},
      {{remove("List", "1")}, "y) = 1", "y)"},
      {{remove("List", "2")}, "   = 2\n", ""},
      {{remove("List", "3")}, "   = 3\n", ""},
      {{add("general", "List", "4")}, "= 3\n", "= 3\n      = 4\n"},
      {{add("general", "Name", "2")}, "=old   \n", "=old   \n      = 2\n"},
      {{add("general", "Plain", "1")}, "Plain (t)", "Plain (t) = 1"},
      {{add("general", "Plain", "1"), add("general", "Plain", "2")},
       "Plain (t)\n",
       "Plain (t) = 1\n      = 2\n"},
      {{set("general", "Plain", "")}, "Plain (t)", "Plain (t) ="},
      {{set("general", "New", "x y")}, "Plain (t)\n", "Plain (t)\n    New (string) = x y\n"},
      {{drop(Operation::kRemoveAttribute, "general", "Name")}, "Name(string)=old   \n", ""},
      {{drop(Operation::kRemoveService, "last", "")}, "[service last]\n", ""},
      {{set("last", "A", "1")},
       "[service last]\n",
       "[service last]\n  [invocation last_1]\n    A (string) = 1\n"},
      {{{Operation::kSet, "general", {}, "List", "phone", "1", Mark::kClear},
        add("general", "List", "2"),
        add("general", "List", "3")},
       "(string, compulsory) = 1\n   = 2\n# after two\n   = 3\n",
       "(phone) = 1\n   = 2\n# after two\n   = 3\n"},
      {{{Operation::kSet, "general", {}, "Name", {}, "old", Mark::kSet}},
       "(string)",
       "(string, compulsory)"},
      {{set("new", "A", "1")},
       "[service last]\n",
       "[service last]\n\n[service new]\n  [invocation new_1]\n    A (string) = 1\n"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(after(kByHand, row.edits), by_hand_with(row.part, row.replacement));
  }
}

TEST(Render, RemovedListLeavesItsAttributeAndComments) {
  EXPECT_EQ(after(kByHand, {remove("List", "1"), remove("List", "2"), remove("List", "3")}),
            by_hand_with(" = 1\n   = 2\n# after two\n   = 3\n", "\n# after two\n"));
}

TEST(Render, ReplacesRemovedValuesOnTheAttributesOwnLine) {
  EXPECT_EQ(after(kByHand, {remove("List", "1"), remove("List", "2"), remove("List", "3"),
                            add("general", "List", "9")}),
            by_hand_with("= 1\n   = 2\n# after two\n   = 3\n", "= 9\n# after two\n"));
}

TEST(Render, AddsLinesToAFileThatHasNoFinalLineEnd) {
  EXPECT_EQ(after("[service a]\n  [invocation b]\n    c (d) = 1", {add("a", "c", "2")}),
            "[service a]\n  [invocation b]\n    c (d) = 1\n      = 2\n");
}

TEST(Render, CompletesALastLineThatEndsWithACarriageReturn) {
  EXPECT_EQ(after("# c\r\n[service a]\r", {set("a", "b", "c")}),
            "# c\r\n[service a]\r\n  [invocation a_1]\r\n    b (string) = c\r\n");
}

TEST(Render, AddsToAFileOfCommentsAtItsEnd) {
  EXPECT_EQ(after("# mine", {set("a", "b", "c")}),
            "# mine\n\n[service a]\n  [invocation a_1]\n    b (string) = c\n");
}

TEST(Render, PutsWhatIsNewAtTheEndWhenNothingOldIsLeft) {
  EXPECT_EQ(after("# top\n[service a]\n# tail\n",
                  {drop(Operation::kRemoveService, "a", ""), set("b", "c", "d")}),
            "# top\n# tail\n\n[service b]\n  [invocation b_1]\n    c (string) = d\n");
}

TEST(Render, WritesAServiceAnewThatWasRemovedAndAddedBehindANewOne) {
  EXPECT_EQ(after("[service b]\n", {drop(Operation::kRemoveService, "b", ""), set("a", "x", "1"),
                                    set("b", "y", "2")}),
            "[service a]\n  [invocation a_1]\n    x (string) = 1\n\n"
            "[service b]\n  [invocation b_1]\n    y (string) = 2\n");
}

TEST(Render, TakesTheEmptyLineAboveADeletedService) {
  const std::pair<std::string, std::string> rows[] = {
      {"[service a]\n\n[service b]\n\n[service c]\n", "[service a]\n\n[service c]\n"},
      {"[service a]\n\n[service b]\n# bye\n", "[service a]\n# bye\n"},
      {"[service a]\r\n\r\n[service b]\r\n", "[service a]\r\n"},
      {"[service a]\n\n\n[service b]\n", "[service a]\n\n"},
      {"[service a]\n\n# mine\n[service b]\n", "[service a]\n\n# mine\n"},
      {"[service a]\n \n[service b]\n", "[service a]\n \n"},
      {"\n[service b]\n", ""},
      {"\xEF\xBB\xBF\n[service b]\n", "\xEF\xBB\xBF\n"},
  };
  for (const auto& [bytes, expected] : rows) {
    EXPECT_EQ(after(bytes, {drop(Operation::kRemoveService, "b", {})}), expected) << bytes;
  }
}

TEST(Render, LeavesAFileAsItWasWhenAnAddedServiceIsDeleted) {
  for (const std::string_view bytes : {"[service a]\n", "[service a]\r\n", "[service a]\n\n",
                                       "[service a]\n# bye", "# only a comment\n", ""}) {
    const std::string added = after(bytes, {set("b", "Name", "x")});
    const std::string deleted = after(added, {drop(Operation::kRemoveService, "b", {})});
    EXPECT_EQ(deleted, bytes);
    EXPECT_EQ(after(deleted, {set("b", "Name", "x")}), added);
  }
}

TEST(Render, KeepsTheLineEndsOfTheFile) {
  EXPECT_EQ(after("[service a]\r\n[invocation b]\r\nc (d) = 1\r\n",
                  {add("a", "c", "2"), set("a", "e", "3")}),
            "[service a]\r\n[invocation b]\r\nc (d) = 1\r\n      = 2\r\n    e (string) = 3\r\n");
}

TEST(Render, KeepsAByteOrderMarkWhenTheFirstLineGoes) {
  EXPECT_EQ(after("\xEF\xBB\xBF[service a]\n", {drop(Operation::kRemoveService, "a", "")}),
            "\xEF\xBB\xBF");
}

}  // namespace
}  // namespace store
