// Tests of the request record and of what adiprintf() makes of a function's prints.
// SPDX-License-Identifier: MIT
#include "request_record.h"

#include <gtest/gtest.h>

#include <cstring>

#include "platform/server.h"

namespace platen {
namespace {

const ParserFunction& function(std::string_view name) { return *find_parser_function(name); }

// A record with a stream in memory and one tag.
class Printing {
 public:
  Printing(std::string_view name, Format format) : tag_(function(name), format), record_({}, "") {
    record_.outfs = ::open_memstream(&text_, &size_);
    record_.tag = &tag_;
  }
  ~Printing() {
    std::fclose(record_.outfs);
    std::free(text_);
  }
  Printing(const Printing&) = delete;
  Printing& operator=(const Printing&) = delete;

  RequestRecord* record() { return &record_; }
  const TagOutput& tag() const { return tag_; }
  std::string text() {
    std::fflush(record_.outfs);
    return {text_, size_};
  }

 private:
  char* text_ = nullptr;
  size_t size_ = 0;
  TagOutput tag_;
  RequestRecord record_;
};

TEST(ParserFunctions, HasNoNameTwice) {
  for (const ParserFunction& row : parser_functions()) {
    EXPECT_EQ(find_parser_function(row.name), &row) << row.name;
  }
  EXPECT_EQ(find_parser_function("HTTP_Parser_Unknown_fn"), nullptr);
}

TEST(ParserFunctions, ListsTheValuesThatAFormatHasConversionsFor) {
  for (const ParserFunction& row : parser_functions()) {
    for (const Print& print : row.prints) {
      size_t at = 0;
      for (const Value kind : print.values) {
        at = print.format.find('%', at);
        ASSERT_NE(at, std::string_view::npos) << row.name << ": " << print.format;
        EXPECT_EQ(print.format.substr(at, 2), kind == Value::counter ? "%d" : "%s") << row.name;
        ++at;
      }
      EXPECT_EQ(print.format.find('%', at), std::string_view::npos) << row.name;
    }
  }
}

TEST(ParserFunctions, AddsOneCountedItemToAMember) {
  for (const ParserFunction& row : parser_functions()) {
    for (const Print& print : row.prints) {
      EXPECT_EQ(print.gather == Gather::member, !print.member.empty()) << row.name;
      if (print.gather != Gather::member) continue;
      ASSERT_EQ(print.values.size(), 2U) << print.member;
      EXPECT_EQ(print.values[0], Value::counter) << print.member;
    }
  }
}

TEST(ParserFunctions, PrintsNothingExactlyWhereNothingMayStand) {
  for (const ParserFunction& row : parser_functions()) {
    EXPECT_EQ(row.places == 0, row.prints.empty()) << row.name;
  }
}

TEST(Adiprintf, EscapesValuesAndSeparatorsForHtmlAndReturnsTheBytes) {
  Printing printing("HTTP_Parser_Get_fn", Format::html);
  EXPECT_EQ(adiprintf(printing.record(), "%s", "a<b"), 6);
  EXPECT_EQ(adiprintf(printing.record(), "%s%s", ",", "\"c\""), 14);
  EXPECT_EQ(printing.text(), "a&lt;b,&quot;c&quot;");
  EXPECT_EQ(printing.tag().finish(), "");
}

TEST(Adiprintf, KeepsTheFormatAsPageText) {
  Printing printing("HTTP_Close_Parser_fn", Format::html);
  adiprintf(printing.record(), "<input type=\"hidden\" name=\"%s\" value=\"%s\">", "Field",
            "/tmp/\"x\"><b>.KTP");
  EXPECT_EQ(printing.text(),
            "<input type=\"hidden\" name=\"Field\" value=\"/tmp/&quot;x&quot;&gt;&lt;b&gt;.KTP\">");
}

TEST(Adiprintf, EscapesNothingTwiceForScripts) {
  Printing printing("HTTP_Parser_JS_Get_fn", Format::js);
  adiprintf(printing.record(), "%s", "a\\'b\\/<");
  adiprintf(printing.record(), "%s%s", ",", "c/\\\\`");
  EXPECT_EQ(printing.text(), "a\\'b\\/\\x3C,c/\\\\\\`");
}

TEST(Adiprintf, GathersItemsForJsonWithoutSeparatorsAndEscapes) {
  Printing printing("HTTP_Parser_JS_Get_fn", Format::json);
  EXPECT_EQ(adiprintf(printing.record(), "%s", "a\\'b"), 0);
  EXPECT_EQ(adiprintf(printing.record(), "%s%s", ",", "c,\\\"d</"), 0);
  EXPECT_EQ(printing.text(), "");
  EXPECT_EQ(printing.tag().finish(), R"(["a'b","c,\"d\u003C/"])");
}

TEST(Adiprintf, PrintsAnEmptyArrayWhereNothingWasPrinted) {
  Printing printing("HTTP_Parser_Get_fn", Format::json);
  EXPECT_EQ(printing.tag().finish(), "[]");
}

TEST(Adiprintf, DropsSeparatorsThatStandInFormatsFromJson) {
  Printing names("HTTP_Parser_List_fn", Format::json);
  adiprintf(names.record(), "%s", "a b.KTP");
  adiprintf(names.record(), " %s", "x\\\\y\\\".KTP");
  EXPECT_EQ(names.tag().finish(), R"(["a b.KTP","x\\y\".KTP"])");
  Printing invocations("HTTP_Parser_List_Invocations_fn", Format::json);
  adiprintf(invocations.record(), "%s", "a,b");
  adiprintf(invocations.record(), ",");
  adiprintf(invocations.record(), "%s", "c");
  EXPECT_EQ(invocations.tag().finish(), R"(["a,b","c"])");
}

constexpr const char* kDestination = "%s%s,%s,%s,%s,%s,%s,%s,%s";

TEST(Adiprintf, KeepsTheFieldsOfADestinationApartInJson) {
  Printing printing("HTTP_Parser_List_Destinations_fn", Format::json);
  EXPECT_EQ(adiprintf(printing.record(), kDestination, "", "a,b", "smb", "s&t", "/p,q", "\"x\"",
                      "</script>", "l\n\xE2\x80\xA8", "\xFF"),
            0);
  adiprintf(printing.record(), kDestination, "&", "&", "", "", "", "", "", "", "");
  EXPECT_EQ(printing.text(), "");
  EXPECT_EQ(printing.tag().finish(),
            "[[\"a,b\",\"smb\",\"s&t\",\"/p,q\",\"\\\"x\\\"\",\"\\u003C/script>\","
            "\"l\\n\xE2\x80\xA8\",\"\xEF\xBF\xBD\"],"
            "[\"&\",\"\",\"\",\"\",\"\",\"\",\"\",\"\"]]");
}

TEST(Adiprintf, EscapesDestinationsForTextAndScripts) {
  for (const auto& [format, text] : std::vector<std::pair<Format, std::string>>{
           {Format::html, "&amp;&lt;b&gt;,,,,,,,&#39;&quot;"},
           {Format::js, "&\\x3Cb\\x3E,,,,,,,\\'\\\""}}) {
    Printing printing("HTTP_Parser_List_Destinations_fn", format);
    adiprintf(printing.record(), kDestination, "&", "<b>", "", "", "", "", "", "", "'\"");
    EXPECT_EQ(printing.text(), text);
  }
}

// Prints as the module does for a template with two fields, escapes of its own included.
void print_metadata(QVN_AppData* record) {
  adiprintf(record, "var defaultValue       = new Array();\n");
  adiprintf(record, "var fieldLabel         = new Array();\n");
  adiprintf(record, "var fieldName          = new Array();\n");
  adiprintf(record, "var invocationName     = new Array();\n");
  adiprintf(record, "var maskUserInput      = new Array();\n");
  adiprintf(record, "var requireUserInput   = new Array();\n");
  adiprintf(record, "var validateData\t      = new Array();\n");
  for (int i = 0; i < 2; ++i) {
    adiprintf(record, "defaultValue[%d]        = \"%s\";\n", i, i == 0 ? "<\\/script>\\\\" : "");
    adiprintf(record, "fieldLabel[%d]          = \"%s\";\n", i, "it\\'s \\\"x\\\"\n");
    adiprintf(record, "fieldName[%d]           = \"%s\";\n", i, "\xE2\x80\xA8\xFF");
    adiprintf(record, "maskUserInput[%d]       = \"%s\";\n", i, "a/b");
    adiprintf(record, "requireUserInput[%d]    = \"%s\";\n", i, "\\\\\\\"");
    adiprintf(record, "validateData[%d]        = \"%s\";\n", i, "true");
    adiprintf(record, "invocationName[%d]      = \"%s\";\n", i, "\";f(\\'`${");
  }
}

TEST(Adiprintf, PrintsMetadataAsStatementsThatNoValueLeaves) {
  Printing printing("HTTP_Parser_Print_Meta_Data_Attributes_fn", Format::js);
  print_metadata(printing.record());
  const auto field = [](const std::string& number, const std::string& value) {
    return "defaultValue[" + number + "]        = \"" + value + "\";\nfieldLabel[" + number +
           "]          = \"it\\'s \\\"x\\\"\\x0A\";\nfieldName[" + number +
           "]           = \"\\u2028\xEF\xBF\xBD\";\nmaskUserInput[" + number +
           "]       = \"a/b\";\nrequireUserInput[" + number +
           "]    = \"\\\\\\\"\";\nvalidateData[" + number +
           "]        = \"true\";\ninvocationName[" + number +
           "]      = \"\\\";f(\\\\\\'\\`\\${\";\n";
  };
  EXPECT_EQ(printing.text(),
            "var defaultValue       = new Array();\n"
            "var fieldLabel         = new Array();\n"
            "var fieldName          = new Array();\n"
            "var invocationName     = new Array();\n"
            "var maskUserInput      = new Array();\n"
            "var requireUserInput   = new Array();\n"
            "var validateData\t      = new Array();\n" +
                field("0", "\\x3C\\/script\\x3E\\\\") + field("1", ""));
}

TEST(Adiprintf, GathersEachFieldOfMetadataAsAnObjectWithoutTheModulesEscapes) {
  Printing printing("HTTP_Parser_Print_Meta_Data_Attributes_fn", Format::json);
  print_metadata(printing.record());
  EXPECT_EQ(printing.text(), "");
  Json expected = Json::array();
  for (const char* value : {"</script>\\", ""}) {
    expected.push_back({{"defaultValue", value},
                        {"fieldLabel", "it's \"x\"\n"},
                        {"fieldName", "\xE2\x80\xA8\xEF\xBF\xBD"},
                        {"maskUserInput", "a/b"},
                        {"requireUserInput", "\\\""},
                        {"validateData", "true"},
                        {"invocationName", "\";f(\\'`${"}});
  }
  EXPECT_EQ(printing.tag().finish(), json_text(expected));
}

TEST(Adiprintf, PrintsAnEmptyArrayForATemplateWithoutMetadata) {
  Printing printing("HTTP_Parser_Print_Meta_Data_Attributes_fn", Format::json);
  adiprintf(printing.record(), "var fieldName          = new Array();\n");
  EXPECT_EQ(printing.tag().finish(), "[]");
}

TEST(Adiprintf, ReadsTheListOfCloneGroupsForJsonOnly) {
  const char* list = "10,A & B,<i>?,20,\xFF,";
  Printing json("HTTP_Parser_Clone_fn", Format::json);
  EXPECT_EQ(adiprintf(json.record(), "%s", list), 0);
  EXPECT_EQ(json.tag().finish(),
            "[{\"token\":10,\"name\":\"A & B\",\"subs\":[\"\\u003Ci>\"]},"
            "{\"token\":20,\"name\":\"\xEF\xBF\xBD\",\"subs\":[]}]");
  Printing html("HTTP_Parser_Clone_fn", Format::html);
  adiprintf(html.record(), "%s", list);
  EXPECT_EQ(html.text(), "10,A &amp; B,&lt;i&gt;?,20,\xEF\xBF\xBD,");
}

TEST(Adiprintf, TakesANullValueForAnEmptyOne) {
  Printing printing("HTTP_Parser_Get_fn", Format::html);
  const char* volatile nothing = nullptr;  // or the compiler refuses the call
  EXPECT_EQ(adiprintf(printing.record(), "%s%s", ",", nothing), 1);
  EXPECT_EQ(printing.text(), ",");
}

TEST(Adiprintf, RefusesAFormatThatTheFunctionIsNotKnownToPrint) {
  Printing printing("HTTP_Parser_Get_fn", Format::html);
  EXPECT_EQ(adiprintf(printing.record(), "<b>%s</b>", "x"), -1);
  EXPECT_EQ(printing.text(), "");
  EXPECT_EQ(printing.tag().fault(),
            "HTTP_Parser_Get_fn printed with the unknown format \"<b>%s</b>\"");
}

TEST(Adiprintf, FailsWithoutARecordAStreamOrATag) {
  EXPECT_EQ(adiprintf(nullptr, "%s", "x"), -1);
  RequestRecord record({}, "");
  EXPECT_EQ(adiprintf(&record, "%s", "x"), -1);
  TagOutput tag(function("HTTP_Parser_Get_fn"), Format::html);
  record.tag = &tag;
  EXPECT_EQ(adiprintf(&record, "%s", "x"), -1);
}

TEST(RequestRecord, HoldsTheFieldsInOrderInBlocksOfTheirOwn) {
  RequestRecord record({{"a", "1"}, {"b", ""}, {"a", "2"}}, "de-de");
  ASSERT_EQ(record.num_entries, 3);
  EXPECT_STREQ(record.entries[0].name, "a");
  EXPECT_STREQ(record.entries[0].val, "1");
  EXPECT_STREQ(record.entries[1].val, "");
  EXPECT_STREQ(record.entries[2].val, "2");
  EXPECT_STREQ(record.preferredLang, "de-de");
  EXPECT_STREQ(record.Reason, "");
  EXPECT_EQ(record.parserTemplate, nullptr);
  EXPECT_EQ(record.outfs, nullptr);
  EXPECT_EQ(record.loginName, nullptr);
  std::free(record.entries[1].val);  // as a handler that sets a new value does
  record.entries[1].val = ::strdup("longer than before");
}

TEST(RequestRecord, CutsALanguageThatDoesNotFit) {
  RequestRecord record({}, std::string(300, 'x'));
  EXPECT_EQ(std::strlen(record.preferredLang), sizeof record.preferredLang - 1);
}

}  // namespace
}  // namespace platen
