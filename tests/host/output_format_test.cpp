// Tests of the escapes: what a page's reader decodes is the value that was printed.
// SPDX-License-Identifier: MIT
#include "output_format.h"

#include <gtest/gtest.h>
#include <gumbo.h>

namespace platen {
namespace {

std::string every_byte() {
  std::string text;
  for (int byte = 1; byte < 256; ++byte) text += static_cast<char>(byte);
  return text;
}

std::vector<std::string> nasty_values() {
  std::vector<std::string> values = {
      "",
      "plain",
      "</script><script>alert(1)</script>",
      "--><!--",
      "<!--#parser fn=\"HTTP_Parser_Get_fn\"-->",
      "\" onmouseover=\"alert(1)",
      "' onmouseover='alert(1)",
      "\\",
      "\\\"",
      "a\\'b\\/c",
      "${alert(1)} `x`",
      "&amp; &lt; &#60; &copy",
      "\r\n\n\rx\r",
      "\xE2\x80\xA8 \xE2\x80\xA9",
      "]]>",
      "NULL",
      "a,b;c",
      "\xEF\xBB\xBF bom",
      every_byte(),
      std::string(5000, '"'),
  };
  for (int byte = 1; byte < 256; ++byte) values.emplace_back(1, static_cast<char>(byte));
  return values;
}

// As the module escapes for scripts.
std::string with_backslashes(const std::string& text, std::string_view escaped) {
  std::string out;
  for (const char c : text) {
    if (escaped.find(c) != std::string_view::npos) out += '\\';
    out += c;
  }
  return out;
}

struct ParsedHtml {
  std::string attribute;
  std::string text;
};

const GumboNode* find_element(const GumboNode* node, GumboTag tag) {
  if (node->type != GUMBO_NODE_ELEMENT) return nullptr;
  if (node->v.element.tag == tag) return node;
  for (unsigned i = 0; i < node->v.element.children.length; ++i) {
    const auto* child = static_cast<const GumboNode*>(node->v.element.children.data[i]);
    if (const GumboNode* found = find_element(child, tag); found != nullptr) return found;
  }
  return nullptr;
}

// What an HTML parser makes of `escaped` in an attribute and as the text of an element. The parser
// gets line ends as the HTML standard has them read: CRLF and CR as LF.
ParsedHtml parse_html(const std::string& escaped) {
  std::string html = "<b title=\"" + escaped + "\">" + escaped + "</b>";
  EXPECT_EQ(html.find('\r'), std::string::npos);
  GumboOutput* output = gumbo_parse_with_options(&kGumboDefaultOptions, html.data(), html.size());
  const GumboNode* element = find_element(output->root, GUMBO_TAG_B);
  ParsedHtml parsed;
  parsed.attribute = gumbo_get_attribute(&element->v.element.attributes, "title")->value;
  if (element->v.element.children.length == 1) {
    parsed.text = static_cast<const GumboNode*>(element->v.element.children.data[0])->v.text.text;
  }
  EXPECT_LE(element->v.element.children.length, 1U);
  gumbo_destroy_output(&kGumboDefaultOptions, output);
  return parsed;
}

// Reads the inside of a script string. Everything that could end it, or the script, or its line, is
// an error.
std::string parse_script_string(std::string_view text) {
  std::string out;
  while (!text.empty()) {
    const char c = text[0];
    const auto byte = static_cast<unsigned char>(c);
    EXPECT_GE(byte, 0x20U);
    EXPECT_EQ(std::string_view("\"'`$<>").find(c), std::string_view::npos) << text;
    EXPECT_FALSE(text.starts_with("\xE2\x80\xA8") || text.starts_with("\xE2\x80\xA9"));
    text.remove_prefix(1);
    if (c != '\\') {
      out += c;
    } else if (text.starts_with('x')) {
      out += static_cast<char>(std::stoi(std::string(text.substr(1, 2)), nullptr, 16));
      text.remove_prefix(3);
    } else if (text.starts_with("u2028") || text.starts_with("u2029")) {
      out += text[4] == '8' ? "\xE2\x80\xA8" : "\xE2\x80\xA9";
      text.remove_prefix(5);
    } else {
      EXPECT_FALSE(text.empty());
      EXPECT_NE(std::string_view("\\\"'`$/").find(text[0]), std::string_view::npos) << text;
      out += text[0];
      text.remove_prefix(1);
    }
  }
  return out;
}

TEST(ValidUtf8, ReplacesEachMaximalWrongPartOnce) {
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"", ""},
      {"a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80", "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"},
      {"\xC3", "\uFFFD"},
      {"\xC3(", "\uFFFD("},
      {"\x80\x80", "\uFFFD\uFFFD"},
      {"\xC0\xAF", "\uFFFD\uFFFD"},
      {"\xE0\x80\xAF", "\uFFFD\uFFFD\uFFFD"},
      {"\xE2\x82", "\uFFFD"},
      {"\xE2\x82<", "\uFFFD<"},
      {"\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD"},
      {"\xF0\x9F\x98", "\uFFFD"},
      {"\xF0\x80\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD"},
      {"\xF4\x90\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD"},
      {"\xF4\x8F\xBF\xBF", "\xF4\x8F\xBF\xBF"},
      {"\xF5", "\uFFFD"},
  };
  for (const auto& [bytes, text] : rows) EXPECT_EQ(valid_utf8(bytes), text);
}

bool is_odd_control(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return (byte < 0x20 && std::string_view("\t\n\f\r").find(c) == std::string_view::npos) ||
         byte == 0x7F;
}

// The test's parser, unlike browsers, shows odd control characters as U+FFFD.
std::string as_parsed(const std::string& value) {
  std::string out;
  for (const char c : valid_utf8(value)) {
    if (is_odd_control(c)) {
      out += "\uFFFD";
    } else {
      out += c;
    }
  }
  return out;
}

TEST(HtmlText, IsReadBackByAnHtmlParserInTextAndAttribute) {
  for (const std::string& value : nasty_values()) {
    const ParsedHtml parsed = parse_html(html_text(value));
    EXPECT_EQ(parsed.attribute, as_parsed(value));
    EXPECT_EQ(parsed.text, as_parsed(value));
  }
}

TEST(HtmlText, KeepsOddControlCharacters) {
  for (int byte = 1; byte < 0x80; ++byte) {
    const std::string text(1, static_cast<char>(byte));
    if (!is_odd_control(text[0])) continue;
    EXPECT_EQ(html_text(text), text) << byte;
  }
}

TEST(HtmlText, EscapesExactly) {
  EXPECT_EQ(html_text("<a href=\"x\">R&D's\r</a>"),
            "&lt;a href=&quot;x&quot;&gt;R&amp;D&#39;s&#13;&lt;/a&gt;");
}

TEST(ScriptText, IsReadBackByAScript) {
  for (const std::string& value : nasty_values()) {
    EXPECT_EQ(parse_script_string(script_text(value, Value::plain)), valid_utf8(value));
  }
}

TEST(ScriptText, KeepsWhatTheModuleHasEscaped) {
  for (const std::string& value : nasty_values()) {
    for (const std::string_view escaped : {"\\'\"/", "\\'\"", "\\\""}) {
      const std::string printed = with_backslashes(value, escaped);
      EXPECT_EQ(parse_script_string(script_text(printed, Value::backslashed)), valid_utf8(value));
    }
  }
}

TEST(ScriptText, EscapesExactly) {
  EXPECT_EQ(script_text("a\\b'c\"d/e`f$g<h>\n\x7F\xE2\x80\xA8", Value::plain),
            "a\\\\b\\'c\\\"d/e\\`f\\$g\\x3Ch\\x3E\\x0A\\x7F\\u2028");
  EXPECT_EQ(script_text("a\\\\b\\'c\\\"d\\/e`f$g<h", Value::backslashed),
            "a\\\\b\\'c\\\"d\\/e\\`f\\$g\\x3Ch");
}

TEST(ScriptText, DoublesABackslashThatTheModuleCannotHavePut) {
  EXPECT_EQ(script_text("a\\n\\", Value::backslashed), "a\\\\n\\\\");
}

TEST(JsonText, IsReadBackByAJsonParserAndHoldsNoTag) {
  for (const std::string& value : nasty_values()) {
    const std::string text = json_text(json_item(value, Value::plain));
    EXPECT_EQ(text.find('<'), std::string::npos);
    EXPECT_EQ(Json::parse(text).get<std::string>(), valid_utf8(value));
  }
}

TEST(JsonItem, UndoesWhatTheModuleHasEscaped) {
  for (const std::string& value : nasty_values()) {
    for (const std::string_view escaped : {"\\'\"/", "\\'\"", "\\\""}) {
      const std::string printed = with_backslashes(value, escaped);
      EXPECT_EQ(json_item(printed, Value::backslashed), Json(valid_utf8(value)));
    }
  }
}

TEST(FormattedText, RendersAWholeTextInEachFormat) {
  EXPECT_EQ(formatted_text("a<'b", Format::html), "a&lt;&#39;b");
  EXPECT_EQ(formatted_text("a<'b", Format::js), "a\\x3C\\'b");
  EXPECT_EQ(formatted_text("a<'b", Format::json), "\"a\\u003C'b\"");
  EXPECT_EQ(formatted_text("a<'b\\\"\xFF", Format::php), "'a<\\'b\\\\\"\xFF'");
}

}  // namespace
}  // namespace platen
