// Tests of forms that put several attributes into one new invocation.
// SPDX-License-Identifier: MIT
#include "new_invocations.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

namespace platen {
namespace {

using Fields = std::vector<FormField>;

FormField field(std::string name, std::string value) {
  return {std::move(name), std::move(value), "", false};
}

// A run that adds `attribute` to the new invocation that the form calls `label`.
Fields addition(const std::string& label, const std::string& attribute,
                const std::string& service = "s") {
  return {field("ServiceName", service), field("NewInvocation", label),
          field("AttributeName", attribute), field("Action", "update")};
}

Fields update(const std::string& invocation) {
  return {field("ServiceName", "s"), field("InvocationName", invocation),
          field("AttributeName", "a"), field("Action", "update")};
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

// Names new invocations as the store does, and counts them.
class Maker {
 public:
  std::string operator()(const std::string& service) {
    return service == "full" ? "" : service + "_" + std::to_string(++count);
  }

  int count = 0;
};

NamedEdits named(const Fields& posted) { return name_new_invocations(posted, Maker()); }

std::string fault(const Fields& posted) {
  const NamedEdits edits = named(posted);
  EXPECT_EQ(summary(edits.fields), "");
  return edits.fault;
}

TEST(NewInvocationsTest, APostWithoutThemStaysAsItIs) {
  const Fields posted = Fields{field("ParserFilename", "p")} + update("NULL") + update("i");
  EXPECT_EQ(summary(named(posted).fields), summary(posted));
  EXPECT_EQ(named(posted).fault, "");
}

TEST(NewInvocationsTest, TheFirstRunMakesItAndTheOthersNameIt) {
  const NamedEdits edits = named(addition("x", "a") + addition("x", "b") + addition("x", "c"));
  EXPECT_EQ(edits.fault, "");
  EXPECT_EQ(summary(edits.fields),
            "ServiceName=s;AttributeName=a;Action=update;"
            "InvocationName=s_1;ServiceName=s;AttributeName=b;Action=update;"
            "InvocationName=s_1;ServiceName=s;AttributeName=c;Action=update;");
}

TEST(NewInvocationsTest, SeveralAreKeptApartByLabelAndService) {
  const NamedEdits edits = named(addition("x", "a") + addition("y", "a") + addition("x", "a", "t") +
                                 addition("y", "b") + addition("x", "b", "t"));
  EXPECT_EQ(summary(edits.fields),
            "ServiceName=s;AttributeName=a;Action=update;"
            "ServiceName=s;AttributeName=a;Action=update;"
            "ServiceName=t;AttributeName=a;Action=update;"
            "InvocationName=s_2;ServiceName=s;AttributeName=b;Action=update;"
            "InvocationName=t_3;ServiceName=t;AttributeName=b;Action=update;");
}

TEST(NewInvocationsTest, AnInvocationNameThatIsNoneIsTakenOut) {
  for (const char* none : {"NULL", ""}) {
    const Fields posted = addition("x", "a") + Fields{field("InvocationName", none)};
    Fields run = posted;
    std::rotate(run.begin(), run.end() - 1, run.end());
    EXPECT_EQ(summary(named(run).fields), "ServiceName=s;AttributeName=a;Action=update;");
  }
}

TEST(NewInvocationsTest, TheyGoBeforeEverythingElse) {
  const Fields removal = {field("ServiceName", "s"), field("InvocationName", "s_1"),
                          field("Action", "delete")};
  const NamedEdits edits = named(removal + addition("x", "a") + update("i") + addition("x", "b") +
                                 Fields{field("ParserFilename", "p")});
  EXPECT_EQ(summary(edits.fields), summary(named(addition("x", "a") + addition("x", "b")).fields) +
                                       summary(removal) + summary(update("i")) +
                                       "ParserFilename=p;");
}

TEST(NewInvocationsTest, ARunIsForANewInvocationOrForOneThatIsThere) {
  const std::string expected =
      "Change 2 of the form is for a new entry and for one that is there; open the form's page "
      "again and send it from there.";
  const Fields named_too = Fields{field("InvocationName", "i")} + addition("x", "a");
  EXPECT_EQ(fault(update("i") + named_too), expected);
  Fields removal = addition("x", "a");
  removal.back().value = "delete";
  EXPECT_EQ(fault(update("i") + removal), expected);
}

TEST(NewInvocationsTest, AnotherNewInvocationIsAtFault) {
  const std::string expected =
      "Change 2 of the form makes an entry of its own beside those that \"NewInvocation\" "
      "names; open the form's page again and send it from there.";
  EXPECT_EQ(fault(addition("x", "a") + update("NULL")), expected);
  EXPECT_EQ(fault(addition("x", "a") + addition("", "a")), expected);
  const Fields metadata_delete = {field("ServiceName", "s"), field("InvocationName", ""),
                                  field("Action", "delete")};
  EXPECT_EQ(fault(addition("x", "a") + metadata_delete), expected);
  const Fields service_delete = {field("ServiceName", "s"), field("Action", "delete")};
  EXPECT_EQ(named(addition("x", "a") + service_delete).fault, "");
}

TEST(NewInvocationsTest, OneThatCannotBeMadeIsAtFault) {
  EXPECT_EQ(fault(addition("x", "a", "full")),
            "Change 1 of the form is for a new entry that cannot be made; open the form's page "
            "again and send it from there.");
}

TEST(NewInvocationsTest, EachIsMadeOnce) {
  Maker maker;
  name_new_invocations(addition("x", "a") + addition("x", "b") + addition("y", "a"),
                       std::ref(maker));
  EXPECT_EQ(maker.count, 2);
}

}  // namespace
}  // namespace platen
