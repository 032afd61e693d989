// Tests of edits that were made on an out-of-date page.
// SPDX-License-Identifier: MIT
#include "out_of_date.h"

#include <gtest/gtest.h>

#include <map>

namespace platen {
namespace {

using Fields = std::vector<FormField>;

FormField field(std::string name, std::string value) {
  return {std::move(name), std::move(value), "", false};
}

// A template's attributes, each named "service/invocation/attribute".
class Template {
 public:
  void set(const std::string& name, StoredAttribute attribute) {
    attributes_[name] = std::move(attribute);
  }

  EditReview review(const Fields& posted) const {
    return review_edits(posted, [this](const std::string& service, const std::string& invocation,
                                       const std::string& attribute) {
      const auto found = attributes_.find(service + "/" + invocation + "/" + attribute);
      return found == attributes_.end() ? std::optional<StoredAttribute>() : found->second;
    });
  }

 private:
  std::map<std::string, StoredAttribute> attributes_;
};

std::string was(const std::string& value, const std::string& type = "string",
                bool compulsory = false) {
  return was_field({value, type, compulsory});
}

// An update run of s/i/ATTRIBUTE as the editor posts it.
Fields update(const std::string& attribute, const std::string& value, const std::string& was_text,
              const std::string& type = "string", const std::string& compulsory = "FALSE") {
  return {field("ServiceName", "s"),
          field("InvocationName", "i"),
          field("AttributeName", attribute),
          field("AttributeType", type),
          field("was", was_text),
          field("AttributeValue", value),
          field("Compulsory", compulsory),
          field("Action", "update")};
}

Fields operator+(Fields left, const Fields& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

std::string summary(const Fields& fields) {
  std::string text;
  for (const FormField& entry : fields) text += entry.name + "=" + entry.value + ";";
  return text;
}

// The fields that the handler gets for a run that stays.
std::string handed_on(const std::string& attribute, const std::string& value,
                      const std::string& type = "string", const std::string& mark = "FALSE") {
  return "ServiceName=s;InvocationName=i;AttributeName=" + attribute + ";AttributeType=" + type +
         ";AttributeValue=" + value + ";Compulsory=" + mark + ";Action=update;";
}

enum class Outcome { dropped, handed_on, conflict };

Outcome outcome_of(const EditReview& review) {
  EXPECT_EQ(review.fault, "");
  if (!review.conflicts.empty()) return Outcome::conflict;
  return review.fields.empty() ? Outcome::dropped : Outcome::handed_on;
}

TEST(OutOfDate, DropsHandsOnOrRefusesEachCase) {
  using enum Outcome;
  struct Row {
    const char* name;
    std::optional<StoredAttribute> stored;
    std::string was_text;
    std::string value;
    std::string type;
    std::string mark;
    Outcome outcome;
  };
  const auto text = [](const std::string& value) {
    return StoredAttribute{{value}, "string", false};
  };
  const StoredAttribute numbers{{"1", "2"}, "string", false};
  const StoredAttribute colours{{"RED", "BLUE"}, "enum_colour", true};
  const std::string colours_were = was("RED,BLUE", "enum_colour", true);
  const Row rows[] = {
      {"unchanged", text("a"), was("a"), "a", "string", "FALSE", dropped},
      {"unchanged, another stored since", text("b"), was("a"), "a", "string", "FALSE", dropped},
      {"unchanged, removed since", std::nullopt, was("a"), "a", "string", "FALSE", dropped},
      {"changed", text("a"), was("a"), "c", "string", "FALSE", handed_on},
      {"changed to nothing", text("a"), was("a"), "", "string", "FALSE", handed_on},
      {"changed, another stored since", text("b"), was("a"), "c", "string", "FALSE", conflict},
      {"changed, the same stored since", text("c"), was("a"), "c", "string", "FALSE", dropped},
      {"changed, removed since", std::nullopt, was("a"), "c", "string", "FALSE", conflict},
      {"new", std::nullopt, "", "c", "string", "FALSE", handed_on},
      {"new, another stored since", text("b"), "", "c", "string", "FALSE", conflict},
      {"new, the same stored since", text("c"), "", "c", "string", "FALSE", dropped},
      {"mark set", text("a"), was("a"), "a", "string", "TRUE", handed_on},
      {"mark set in small letters", text("a"), was("a"), "a", "string", "true", handed_on},
      {"mark is another word", text("a"), was("a"), "a", "string", "True", dropped},
      {"mark set since", {{{"a"}, "string", true}}, was("a"), "c", "string", "FALSE", conflict},
      {"type changed", text("a"), was("a"), "a", "boolean", "FALSE", handed_on},
      {"type changed since",
       {{{"a"}, "boolean", false}},
       was("a"),
       "c",
       "string",
       "FALSE",
       conflict},
      {"type not posted", text("a"), was("a"), "a", "NULL", "FALSE", dropped},
      {"type not posted, another than string",
       {{{"R"}, "enum_x", false}},
       was("R", "enum_x"),
       "R",
       "NULL",
       "FALSE",
       dropped},
      {"the word NULL is no text", text(""), was(""), "NULL", "string", "FALSE", dropped},
      {"line ends differ", text("a\r\nb\rc\nd"), was("a\nb\nc\nd"), "a\r\nb\r\nc\r\nd", "string",
       "FALSE", dropped},
      {"line ends differ, changed", text("a\r\nb"), was("a\nb"), "a\r\nc", "string", "FALSE",
       handed_on},
      {"a line more", text("a\n"), was("a"), "c", "string", "FALSE", conflict},
      {"not UTF-8", text("a\xFFz"), was("a\xEF\xBF\xBDz"), "a\xEF\xBF\xBDz", "string", "FALSE",
       dropped},
      {"not UTF-8, changed", text("a\xE2\x82z"), was("a\xEF\xBF\xBDz"), "c", "string", "FALSE",
       handed_on},
      {"list unchanged", colours, colours_were, "RED,BLUE", "enum_colour", "TRUE", dropped},
      {"list with empty items", colours, colours_were, ",RED,,BLUE,", "enum_colour", "TRUE",
       dropped},
      {"list in another order", colours, colours_were, "BLUE,RED", "enum_colour", "TRUE",
       handed_on},
      {"list changed since",
       {{{"RED"}, "enum_colour", true}},
       colours_were,
       "BLUE",
       "enum_colour",
       "TRUE",
       conflict},
      {"several values of a text", numbers, was("1,2"), "1,2", "string", "FALSE", dropped},
      {"a text with commas", text(",1,,2"), was(",1,,2"), "1,2", "string", "FALSE", handed_on},
  };
  for (const Row& row : rows) {
    Template stored;
    if (row.stored) stored.set("s/i/a", *row.stored);
    const EditReview review =
        stored.review(update("a", row.value, row.was_text, row.type, row.mark));
    EXPECT_EQ(outcome_of(review), row.outcome) << row.name;
  }
}

TEST(OutOfDate, JoinsPhoneNumbersWithSemicolons) {
  Template stored;
  stored.set("s/i/PhoneNumber", {{"555,1", "556"}, "string", false});
  struct Row {
    const char* value;
    Outcome outcome;
  };
  const Row rows[] = {{"555,1;556", Outcome::dropped},
                      {";555,1;;556;", Outcome::dropped},
                      {"555,1;557", Outcome::handed_on}};
  for (const Row& row : rows) {
    EXPECT_EQ(outcome_of(stored.review(update("PhoneNumber", row.value, was("555,1;556")))),
              row.outcome)
        << row.value;
  }
}

TEST(OutOfDate, HandsOnTheRunsThatStayInOrderWithoutTheHostsFields) {
  Template stored;
  stored.set("s/i/same", {{"1"}, "string", false});
  stored.set("s/i/other", {{"1"}, "string", true});
  const Fields posted = Fields{field("token", "t"), field("ParserFilename", "/p")} +
                        update("same", "1", was("1")) + Fields{field("NextPage", "/n")} +
                        update("other", "2", was("1", "string", true), "string", "TRUE") +
                        Fields{field("ServiceName", "s"),
                               field("InvocationName", "i"),
                               field("AttributeName", "same"),
                               field("was", ""),
                               field("AttributeValue", "a\r\nb"),
                               field("Action", "delete"),
                               field("replace", "1"),
                               field("was", ""),
                               field("Tail", "x")};
  const EditReview review = stored.review(posted);
  EXPECT_EQ(review.fault, "");
  EXPECT_EQ(summary(review.fields),
            "ParserFilename=/p;NextPage=/n;" + handed_on("other", "2", "string", "TRUE") +
                "ServiceName=s;InvocationName=i;AttributeName=same;AttributeValue=a\r\nb;"
                "Action=delete;Tail=x;");
}

TEST(OutOfDate, KeepsTheFieldsBetweenTheNamesOfADroppedRun) {
  Template stored;
  stored.set("s/i/a", {{"1"}, "string", false});
  Fields posted = update("a", "1", was("1"));
  posted.insert(posted.begin() + 3, field("DefaultParserFilename", "/d"));
  EXPECT_EQ(summary(stored.review(posted).fields), "DefaultParserFilename=/d;");
}

TEST(OutOfDate, WritesTheStoredLineEnds) {
  struct Row {
    const char* stored;
    const char* was_text;
    const char* written;
  };
  const Row rows[] = {
      {"a\nb", "a\nb", "x\ny\n"},         {"a\r\nb", "a\nb", "x\r\ny\r\n"},
      {"a\rb", "a\nb", "x\ry\r"},         {"a\r\nb\nc", "a\nb\nc", "x\r\ny\r\n"},
      {"a\nb\r\nc", "a\nb\nc", "x\ny\n"}, {"a", "a", "x\ny\n"},
      {"a\r", "a\n", "x\ry\r"},
  };
  for (const Row& row : rows) {
    Template stored;
    stored.set("s/i/a", {{row.stored}, "string", false});
    const EditReview review = stored.review(update("a", "x\r\ny\r\n", was(row.was_text)));
    EXPECT_EQ(summary(review.fields), handed_on("a", row.written)) << row.stored;
  }
  EXPECT_EQ(summary(Template().review(update("a", "x\r\ny\rz", "")).fields),
            handed_on("a", "x\ny\nz"));
}

TEST(OutOfDate, UsesTheLineEndsOfEachRunsOwnAttribute) {
  Template stored;
  stored.set("s/i/a", {{"1\r\n2"}, "string", false});
  const EditReview review =
      stored.review(update("a", "x\ny", was("1\n2")) + update("b", "x\r\ny", ""));
  EXPECT_EQ(summary(review.fields), handed_on("a", "x\r\ny") + handed_on("b", "x\ny"));
}

TEST(OutOfDate, HandsOnWhatItDoesNotJudge) {
  Template stored;
  stored.set("s/i/a", {{"1"}, "string", false});
  const Fields service = {field("ServiceName", "s")};
  const Fields invocation = {field("InvocationName", "i")};
  const Fields attribute = {field("AttributeName", "a")};
  const Fields value = {field("AttributeValue", "2")};
  const Fields run = {field("Action", "update")};
  const struct {
    const char* name;
    Fields posted;
  } rows[] = {
      {"no invocation", service + attribute + value + run},
      {"NULL invocation",
       service + Fields{field("InvocationName", "NULL")} + attribute + value + run},
      {"no value", service + invocation + attribute + run},
      {"no attribute", service + invocation + value + run},
      {"no service", invocation + attribute + value + run},
      {"delete", service + invocation + attribute + value + Fields{field("Action", "delete")}},
      {"another action", service + invocation + attribute + value + Fields{field("Action", "x")}},
      {"no action", service + invocation + attribute + value},
      {"nothing", {}},
  };
  for (const auto& row : rows) {
    const EditReview review = stored.review(row.posted);
    EXPECT_EQ(review.fault, "") << row.name;
    EXPECT_TRUE(review.conflicts.empty()) << row.name;
    EXPECT_EQ(summary(review.fields), summary(row.posted)) << row.name;
  }
}

TEST(OutOfDate, ReadsARunAsTheHandlerDoes) {
  Template stored;
  stored.set("s/i/a", {{"1"}, "string", false});
  // A later field of one name counts, and none is carried over into the next run.
  const Fields posted = Fields{field("AttributeValue", "2"), field("ServiceName", "t")} +
                        update("a", "1", was("1")) +
                        Fields{field("InvocationName", "i"), field("AttributeName", "a"),
                               field("AttributeValue", "9"), field("Action", "update")};
  const EditReview review = stored.review(posted);
  EXPECT_EQ(summary(review.fields),
            "InvocationName=i;AttributeName=a;AttributeValue=9;Action=update;");
}

TEST(OutOfDate, TellsAllConflictsAndHandsOnNothing) {
  Template stored;
  stored.set("s/i/a", {{"b1", "b2"}, "enum_x", true});
  stored.set("s/i/fine", {{"1"}, "string", false});
  const EditReview review =
      stored.review(update("fine", "2", was("1")) +
                    update("a", "c", was("a1,a2", "enum_x", true), "enum_x", "TRUE") +
                    update("gone", "c", was("a")));
  EXPECT_EQ(review.fault, "");
  EXPECT_TRUE(review.fields.empty());
  ASSERT_EQ(review.conflicts.size(), 2U);
  const EditConflict& changed = review.conflicts[0];
  EXPECT_EQ(changed.run, 1U);
  EXPECT_EQ(changed.service + "/" + changed.invocation + "/" + changed.attribute, "s/i/a");
  EXPECT_EQ(changed.was, (ShownAttribute{"a1,a2", "enum_x", true}));
  EXPECT_EQ(changed.stored, (ShownAttribute{"b1,b2", "enum_x", true}));
  EXPECT_EQ(changed.wanted, (ShownAttribute{"c", "enum_x", true}));
  EXPECT_EQ(review.conflicts[1].run, 2U);
  EXPECT_EQ(review.conflicts[1].stored, std::nullopt);
}

TEST(OutOfDate, LetsAConflictBeOverruledWithTheStoredValueAsWhatWasShown) {
  Template stored;
  stored.set("s/i/a", {{"b\xFF\r\n"}, "string", false});
  const EditReview refused = stored.review(update("a", "c", was("a")));
  ASSERT_EQ(refused.conflicts.size(), 1U);
  const std::string now_shown = was_field(*refused.conflicts[0].stored);
  EXPECT_EQ(summary(stored.review(update("a", "c", now_shown)).fields), handed_on("a", "c"));
}

TEST(OutOfDate, RefusesAWasThatItCannotRead) {
  const char* rows[] = {
      "x",
      "{}",
      "[]",
      "\"a\"",
      "{\"value\":\"a\",\"type\":\"string\"}",
      "{\"value\":1,\"type\":\"string\",\"compulsory\":false}",
      "{\"value\":\"a\",\"type\":null,\"compulsory\":false}",
      "{\"value\":\"a\",\"type\":\"string\",\"compulsory\":\"FALSE\"}",
      "{\"value\":\"a\",\"type\":\"string\",\"compulsory\":false,\"more\":1}",
      "{\"value\":\"a\xFF\",\"type\":\"string\",\"compulsory\":false}",
  };
  for (const char* text : rows) {
    const EditReview review = Template().review(update("a", "1", "") + update("b", "1", text));
    EXPECT_EQ(review.fault,
              "Change 2 of the form does not say in its field \"was\" what was shown; open the "
              "form's page again and send it from there.")
        << text;
    EXPECT_TRUE(review.fields.empty()) << text;
  }
}

TEST(OutOfDate, RefusesAWasWithoutAnInvocation) {
  Fields posted = update("a", "1", was("0"));
  posted.erase(posted.begin() + 1);
  EXPECT_EQ(Template().review(posted).fault,
            "Change 1 of the form does not say which invocation it is for; open the form's page "
            "again and send it from there.");
}

TEST(WasField, IsJsonOfWhatIsShown) {
  EXPECT_EQ(was_field({"a\"\\\n\xFF", "enum_x", true}),
            "{\"compulsory\":true,\"type\":\"enum_x\",\"value\":\"a\\\"\\\\\\n\xEF\xBF\xBD\"}");
  EXPECT_EQ(shown_attribute("PhoneNumber", {{"1,2", "3"}, "string", false}),
            (ShownAttribute{"1,2;3", "string", false}));
  EXPECT_EQ(shown_attribute("x", {{"1", "", "3"}, "string", true}),
            (ShownAttribute{"1,,3", "string", true}));
  EXPECT_EQ(shown_attribute("x", {{}, "string", false}), (ShownAttribute{"", "string", false}));
}

}  // namespace
}  // namespace platen
