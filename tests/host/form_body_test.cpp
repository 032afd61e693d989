// Tests of form decoding: both encodings, and every refusal.
// SPDX-License-Identifier: MIT
#include "form_body.h"

#include <gtest/gtest.h>

namespace platen {
namespace {

constexpr std::string_view kUrlEncoded = "application/x-www-form-urlencoded";
constexpr std::string_view kMultipart = "multipart/form-data; boundary=XX";
constexpr char kAgain[] = " Open the form's page again and send it from there.";

struct Decoded {
  std::vector<FormField> fields;
  int status = 0;
  std::string text;
};

Decoded decode(std::string_view type, std::string_view body, const FormLimits& limits = {}) {
  Decoded decoded;
  const auto refusal = decode_form({type, body.size(), body}, limits, &decoded.fields);
  if (refusal) {
    decoded.status = refusal->status;
    decoded.text = refusal->text;
  }
  return decoded;
}

// The fields as one readable text: name=value, with <file name> of a file.
std::string summary(const std::vector<FormField>& fields) {
  std::string text;
  for (const FormField& field : fields) {
    text += "[" + field.name + "=" + field.value;
    if (field.is_file) text += " <" + field.file_name + ">";
    text += "]";
  }
  return text;
}

// One part of a multipart form with boundary XX.
std::string part(const std::string& disposition, const std::string& value) {
  return "--XX\r\nContent-Disposition: " + disposition + "\r\n\r\n" + value + "\r\n";
}

TEST(UrlEncodedForm, KeepsOrderAndRepeatedNames) {
  struct Row {
    const char* body;
    const char* fields;
  };
  const Row rows[] = {
      {"a=1&b=2&a=3", "[a=1][b=2][a=3]"},
      {"a=x+y%2Bz%26%3d", "[a=x y+z&=]"},
      {"a=%C3%A9%ff", "[a=\xC3\xA9\xFF]"},
      {"a=b=c", "[a=b=c]"},
      {"a&b=", "[a=][b=]"},
      {"=x", "[=x]"},
      {"&&a=1&&", "[a=1]"},
      {"a=%0D%0A", "[a=\r\n]"},
      {"A=1&a=2", "[A=1][a=2]"},
  };
  for (const Row& row : rows) {
    const Decoded decoded = decode(kUrlEncoded, row.body);
    EXPECT_EQ(decoded.text, "") << row.body;
    EXPECT_EQ(summary(decoded.fields), row.fields);
  }
}

TEST(UrlEncodedForm, RefusesBrokenEscapesAndNulBytes) {
  struct Row {
    std::string body;
    const char* refusal;
  };
  const Row rows[] = {
      {"a=1&b=%4", "The field \"b\" holds the broken escape \"%4\"."},
      {"b=%zz", "The field \"b\" holds the broken escape \"%zz\"."},
      {"b=%", "The field \"b\" holds the broken escape \"%\"."},
      {"%G1=b", "The name of a field, \"%G1\", holds the broken escape \"%G1\"."},
      {"b=x%00", "The field \"b\" holds a NUL byte."},
      {std::string("b=x\0", 4), "The field \"b\" holds a NUL byte."},
      {"b%00=x", "The name of a field, \"b%00\", holds a NUL byte."},
  };
  for (const Row& row : rows) {
    const Decoded decoded = decode(kUrlEncoded, row.body);
    EXPECT_EQ(decoded.status, 400) << row.body;
    EXPECT_EQ(decoded.text, std::string(row.refusal) + kAgain) << row.body;
  }
}

TEST(MultipartForm, KeepsOrderRepeatedNamesAndFiles) {
  const std::string bytes("PK\0\r\n--X\xFF", 9);
  const std::string body = part("form-data; name=\"a\"", "1") +
                           part("form-data; name=\"f\"; filename=\"n.KTP\"", bytes) +
                           part("form-data; name=\"a\"", "2\r\n3") +
                           part("form-data; name=\"none\"; filename=\"\"", "") + "--XX--\r\n";
  const Decoded decoded = decode(kMultipart, body);
  EXPECT_EQ(decoded.text, "");
  EXPECT_EQ(summary(decoded.fields), "[a=1][f=" + bytes + " <n.KTP>][a=2\r\n3][none= <>]");
}

TEST(MultipartForm, TakesWhatBrowsersAndToolsWrite) {
  const std::string end = "--XX--";
  struct Row {
    const char* name;
    std::string type;
    std::string body;
    const char* fields;
  };
  const Row rows[] = {
      {"no parts", "multipart/form-data; boundary=XX", "--XX--\r\n", ""},
      {"quoted boundary", "Multipart/Form-Data; charset=utf-8; BOUNDARY=\"XX\"",
       part("form-data; name=\"a\"", "1") + end, "[a=1]"},
      {"other boundary signs", "multipart/form-data; boundary=\"a b:=?\"",
       "--a b:=?\r\nContent-Disposition: form-data; name=a\r\n\r\n1\r\n--a b:=?--", "[a=1]"},
      {"preamble and epilogue", "multipart/form-data; boundary=XX",
       "hello\r\n" + part("form-data; name=\"a\"", "1") + end + "\r\nbye --XX", "[a=1]"},
      {"blanks behind the boundary", "multipart/form-data; boundary=XX",
       "--XX \t\r\nContent-Disposition: form-data; name=\"a\"\r\n\r\n1\r\n--XX--", "[a=1]"},
      {"other headers and cases", "multipart/form-data; boundary=XX",
       "--XX\r\nContent-Type: text/plain\r\ncontent-disposition:FORM-DATA ; NAME = a ; x=y;"
       "\r\n\r\n1\r\n--XX--",
       "[a=1]"},
      {"escapes in names", "multipart/form-data; boundary=XX",
       part("form-data; name=\"a%22%0D%0A%41\"; filename=\"C:\\d\\%22q%22; x.KTP\"", "") + end,
       "[a\"\r\n%41= <C:\\d\\\"q\"; x.KTP>]"},
      {"value like a boundary", "multipart/form-data; boundary=XX",
       part("form-data; name=\"a\"", "x--XX\r\n-XX\n--XX") + end, "[a=x--XX\r\n-XX\n--XX]"},
      {"empty value", "multipart/form-data; boundary=XX", part("form-data; name=\"\"", "") + end,
       "[=]"},
  };
  for (const Row& row : rows) {
    const Decoded decoded = decode(row.type, row.body);
    EXPECT_EQ(decoded.text, "") << row.name;
    EXPECT_EQ(summary(decoded.fields), row.fields) << row.name;
  }
}

TEST(MultipartForm, RefusesWhatIsBroken) {
  const std::string unnamed =
      "Part 1 of the form does not say which field it is (Content-Disposition: form-data; "
      "name=...).";
  const std::string breaks_off = "The form breaks off in part 1 of the form.";
  const std::string nul(1, '\0');
  const std::string good = part("form-data; name=\"a\"", "1");
  struct Row {
    const char* name;
    std::string body;
    std::string refusal;
  };
  const Row rows[] = {
      {"no boundary in the body", "a=1", "The form does not hold its boundary."},
      {"another boundary", "--YY--", "The form does not hold its boundary."},
      {"boundary inside a line", "x--XX--", "The form does not hold its boundary."},
      {"nothing behind the boundary", "--XX", breaks_off},
      {"text behind the boundary", "--XXyy\r\n\r\n--XX--", breaks_off},
      {"no last boundary", "--XX\r\nContent-Disposition: form-data; name=\"a\"\r\n\r\n1\r\n",
       breaks_off},
      {"second part without end", good + "--XX\r\nContent-Disposition: form-data; name=b\r\n\r\n1",
       "The form breaks off in part 2 of the form."},
      {"no header", "--XX\r\n\r\n1\r\n--XX--", "Part 1 of the form has no end of its header."},
      {"header without end", "--XX\r\nContent-Disposition: form-data; name=a\r\n--XX--",
       "Part 1 of the form has no end of its header."},
      {"no disposition", "--XX\r\nContent-Type: text/plain\r\n\r\n1\r\n--XX--", unnamed},
      {"disposition without colon", "--XX\r\nContent-Disposition\r\n\r\n1\r\n--XX--", unnamed},
      {"another disposition", part("attachment; name=\"a\"", "1") + "--XX--", unnamed},
      {"no name", part("form-data; filename=\"a\"", "1") + "--XX--", unnamed},
      {"open quotation mark", part("form-data; name=\"a", "1") + "--XX--", unnamed},
      {"text behind the quotation mark", part("form-data; name=\"a\"b", "1") + "--XX--", unnamed},
      {"parameter without value", part("form-data; name", "1") + "--XX--", unnamed},
      {"NUL in a value", part("form-data; name=\"a\"", nul) + "--XX--",
       "The field \"a\" holds a NUL byte."},
      {"NUL in a name", part("form-data; name=\"a" + nul + "\"", "1") + "--XX--",
       "The name of part 1 of the form holds a NUL byte."},
      {"NUL in a file name",
       part("form-data; name=\"a\"; filename=\"" + nul + "\"", "1") + "--XX--",
       "The field \"a\" holds a NUL byte."},
  };
  for (const Row& row : rows) {
    const Decoded decoded = decode(kMultipart, row.body);
    EXPECT_EQ(decoded.status, 400) << row.name;
    EXPECT_EQ(decoded.text, row.refusal + kAgain) << row.name;
  }
}

TEST(MultipartForm, RefusesBoundariesThatAreNone) {
  struct Row {
    std::string parameter;
    std::string shown;
  };
  const Row rows[] = {
      {"", "\"\""},
      {"; boundary=", "\"\""},
      {"; boundary=\"a \"", "\"a \""},
      {"; boundary=a*", "\"a*\""},
      {"; boundary=" + std::string(71, 'x'), "\"" + std::string(40, 'x') + "...\""},
  };
  for (const Row& row : rows) {
    const Decoded decoded = decode("multipart/form-data" + row.parameter, "--x--");
    EXPECT_EQ(decoded.status, 400);
    EXPECT_EQ(decoded.text,
              "The form's boundary must have 1 to 70 letters, digits and simple signs, and not " +
                  row.shown + "." + kAgain);
  }
  const std::string longest(70, 'x');
  EXPECT_EQ(decode("multipart/form-data; boundary=" + longest, "--" + longest + "--").text, "");
}

TEST(Form, TakesNoOtherType) {
  for (const char* type : {"text/plain", "", "multipart/mixed; boundary=XX", "application/json"}) {
    const Decoded decoded = decode(type, "a=1");
    EXPECT_EQ(decoded.status, 415);
    EXPECT_EQ(decoded.text,
              "A form is sent as application/x-www-form-urlencoded or multipart/form-data, not as "
              "\"" +
                  std::string(type) + "\".");
  }
  EXPECT_EQ(decode("", "").text, "");
  EXPECT_EQ(decode("Application/X-WWW-Form-Urlencoded; charset=UTF-8", "a=1").text, "");
}

TEST(Form, KeepsToItsLimits) {
  const FormLimits limits{100, 3, 4};
  struct Row {
    std::string_view type;
    std::string body;
    int status;
    std::string refusal;
  };
  const std::string too_many = "The form has more than 3 fields. Make fewer changes at once.";
  const std::string too_large = "The form is larger than 100 bytes. Send less at once.";
  const std::string long_name =
      "The name of field 2, \"abcde\", is longer than 4 bytes." + std::string(kAgain);
  const std::string small_part = "--X\r\nContent-Disposition: form-data; name=a\r\n\r\n\r\n";
  const std::string long_part = "--X\r\nContent-Disposition: form-data; name=abcde\r\n\r\n\r\n";
  const std::string_view multipart = "multipart/form-data; boundary=X";
  const FormLimits roomy{1000, 3, 4};
  EXPECT_EQ(decode(kUrlEncoded, "abcd=" + std::string(95, 'x'), limits).text, "");
  EXPECT_EQ(decode(kUrlEncoded, "abcd=" + std::string(96, 'x'), limits).text, too_large);
  EXPECT_EQ(decode(kUrlEncoded, "abcd=" + std::string(96, 'x'), limits).status, 413);
  const Row rows[] = {
      {kUrlEncoded, "a&b&c", 0, ""},
      {kUrlEncoded, "a&b&c&d", 413, too_many},
      {kUrlEncoded, "a&abcd", 0, ""},
      {kUrlEncoded, "a&abcde", 400, long_name},
      {multipart, small_part + small_part + small_part + "--X--", 0, ""},
      {multipart, small_part + small_part + small_part + small_part + "--X--", 413, too_many},
      {multipart, small_part + long_part + "--X--", 400, long_name},
  };
  for (const Row& row : rows) {
    const Decoded decoded = decode(row.type, row.body, roomy);
    EXPECT_EQ(decoded.status, row.status) << row.body;
    EXPECT_EQ(decoded.text, row.refusal) << row.body;
  }
}

TEST(Form, IsRefusedWhenItWasCutShort) {
  std::vector<FormField> fields = {{"old", "", "", false}};
  const auto refusal = decode_form({kUrlEncoded, 10, "a=1"}, {}, &fields);
  ASSERT_TRUE(refusal);
  EXPECT_EQ(refusal->status, 400);
  EXPECT_EQ(refusal->text, "The form was cut short: 3 of 10 bytes arrived. Send it again.");
  EXPECT_TRUE(fields.empty());
}

TEST(Form, TellsTheLimitBeforeTheBodyIsThere) {
  std::vector<FormField> fields;
  const auto refusal = decode_form({kUrlEncoded, 101, ""}, {100, 3, 4}, &fields);
  ASSERT_TRUE(refusal);
  EXPECT_EQ(refusal->status, 413);
}

}  // namespace
}  // namespace platen
