// Tests of what two template files hold differently, over the real store.
// SPDX-License-Identifier: MIT
#include "template_difference.h"

#include <gtest/gtest.h>

#include "../device/temporary_directory.h"

namespace platen {
namespace {

class TemplateDifference : public ::testing::Test {
 protected:
  TemplateDifference() {
    module_.construct_template = CKwtTemplate;
    module_.open_template = Open;
    module_.destruct_template = DestructorCKwtTemplate;
    module_.walk = jt_walk;
    module_.error = jt_error;
  }

  Json compare(const std::string& before, const std::string& after) const {
    return difference_json(module_, directory_.write("before.KTP", before),
                           directory_.write("after.KTP", after));
  }

  // "SERVICE INVOCATION ATTRIBUTE" of each difference.
  std::vector<std::string> places(const std::string& before, const std::string& after) const {
    std::vector<std::string> list;
    const Json difference = compare(before, after);
    for (const Json& row : difference["attributes"]) {
      list.push_back(row["service"].get<std::string>() + ' ' +
                     row["invocation"].get<std::string>() + ' ' +
                     row["attribute"].get<std::string>());
    }
    return list;
  }

  TemporaryDirectory directory_;
  ParserModule module_;
};

const std::string kHead = "[service s]\n[invocation i]\n";

TEST_F(TemplateDifference, TellsWhatEitherSideHolds) {
  const Json difference =
      compare(kHead + "same (string) = x\nold (string) = 1\nlist (t) = a\n= b\n",
              kHead + "same (string) = x\nlist (t, compulsory) = a\nnew (n)\n");
  EXPECT_EQ(difference["fault"], nullptr);
  EXPECT_EQ(difference["before"]["file"], directory_.path() + "/before.KTP");
  EXPECT_EQ(difference["after"]["file"], directory_.path() + "/after.KTP");
  EXPECT_EQ(difference["attributes"].dump(),
            R"([{"service":"s","invocation":"i","attribute":"old",)"
            R"("before":{"values":["1"],"type":"string","compulsory":false},"after":null},)"
            R"({"service":"s","invocation":"i","attribute":"list",)"
            R"("before":{"values":["a","b"],"type":"t","compulsory":false},)"
            R"("after":{"values":["a"],"type":"t","compulsory":true}},)"
            R"({"service":"s","invocation":"i","attribute":"new",)"
            R"("before":null,"after":{"values":[],"type":"n","compulsory":false}}])");
}

TEST_F(TemplateDifference, CountsValuesTheirOrderTypeAndMark) {
  const auto differs = [this](const std::string& before, const std::string& after) {
    return !places(kHead + before, kHead + after).empty();
  };
  EXPECT_FALSE(differs("a (t) = x\n", "a (t) = x\n"));
  EXPECT_TRUE(differs("a (t) = x\n", "a (t) = y\n"));
  EXPECT_TRUE(differs("a (t) = x\n= y\n", "a (t) = y\n= x\n"));
  EXPECT_TRUE(differs("a (t) = x\n= x\n", "a (t) = x\n"));
  EXPECT_TRUE(differs("a (t)\n", "a (t) =\n"));
  EXPECT_TRUE(differs("a (t) = x\n", "a (u) = x\n"));
  EXPECT_TRUE(differs("a (t) = x\n", "a (t, compulsory) = x\n"));
  EXPECT_TRUE(differs("a (t) = x\n", "A (t) = x\n"));
}

TEST_F(TemplateDifference, LeavesOutWhatOnlyLooksDifferent) {
  EXPECT_TRUE(places(kHead + "a (t) = x\nb (t) = y\n",
                     "# hand-made\n\n[service s]\n  [invocation i]\n  b (t)\n    = y\n a (t) = x\n"
                     "[service empty]\n")
                  .empty());
  EXPECT_TRUE(places("", "").empty());
}

TEST_F(TemplateDifference, StandsInTheOrderOfTheFileAfter) {
  const std::string before =
      "[service gone]\n[invocation i]\nx (t)\n"
      "[service s]\n[invocation old]\nx (t)\n[invocation i]\nfirst (t)\na (t)\nsecond (t)\nb (t)\n"
      "[service last]\n[invocation i]\nx (t)\n";
  const std::string after =
      "[service new]\n[invocation i]\nx (t)\n"
      "[service s]\n[invocation i]\nb (t) = 1\na (t) = 1\nnew (t)\n[invocation j]\nx (t)\n";
  EXPECT_EQ(places(before, after),
            (std::vector<std::string>{"gone i x", "new i x", "s old x", "s i first", "s i b",
                                      "s i a", "s i second", "s i new", "s j x", "last i x"}));
}

TEST_F(TemplateDifference, TellsFilesApartThatLackNames) {
  EXPECT_EQ(places("[service a]\n[invocation i]\nx (t)\n", "[service b]\n[invocation i]\nx (t)\n"),
            (std::vector<std::string>{"a i x", "b i x"}));
}

TEST_F(TemplateDifference, ComparesNamesByTheirBytes) {
  const Json rows = compare(kHead + "n\xFE (t) = 1\n", kHead + "n\xFF (t) = 1\n")["attributes"];
  ASSERT_EQ(rows.size(), 2U);
  EXPECT_EQ(rows[0]["attribute"], "n\uFFFD");
  EXPECT_EQ(rows[0]["after"], nullptr);
  EXPECT_EQ(rows[1]["attribute"], "n\uFFFD");
  EXPECT_EQ(rows[1]["before"], nullptr);
}

TEST_F(TemplateDifference, TakesAnEmptyPathForAnEmptyTemplate) {
  const Json difference =
      difference_json(module_, "", directory_.write("a.KTP", kHead + "a (t) = x\n"));
  EXPECT_EQ(difference["before"], nullptr);
  EXPECT_EQ(difference["attributes"].size(), 1U);
  EXPECT_EQ(difference["attributes"][0]["before"], nullptr);
  EXPECT_EQ(difference_json(module_, "", "").dump(),
            R"({"before":null,"after":null,"attributes":[],"fault":null})");
}

TEST_F(TemplateDifference, SaysWhereAFileIsBroken) {
  const Json broken = compare(kHead + "a (t) = x\nnot a line\n", kHead + "a (t) = y\n");
  EXPECT_TRUE(broken["fault"].get<std::string>().starts_with(directory_.path() + "/before.KTP:4:"))
      << broken;
  EXPECT_EQ(broken["attributes"], Json::array());
  const Json missing =
      difference_json(module_, directory_.write("a.KTP", ""), directory_.path() + "/none.KTP");
  EXPECT_TRUE(missing["fault"].get<std::string>().starts_with(directory_.path() + "/none.KTP: "))
      << missing;
}

TEST_F(TemplateDifference, FindsEveryAttributeOfALongTemplateInAnyOrder) {
  std::string before = kHead;
  std::string after = kHead;
  for (int i = 0; i < 10000; ++i) {
    before += "a" + std::to_string(i) + " (t) = x\n";
    after += "a" + std::to_string(9999 - i) + " (t) = y\n";
  }
  EXPECT_EQ(places(before, after).size(), 10000U);
}

}  // namespace
}  // namespace platen
