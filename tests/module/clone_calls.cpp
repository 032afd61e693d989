// The clone groups: readers of the clone file, conditions, names, and the limits of each buffer.
// SPDX-License-Identifier: MIT
#include <tuple>

#include "calls_fixture.h"
#include "scripted_device.h"

namespace {

constexpr char kClone[] = "HTTP_Parser_Clone_fn";
constexpr char kOpenFile[] = "xpaths_open_file('/data', 'clone/data/clone_file_webui', 'rb')";

class CloneGroups : public ModuleCalls {
 protected:
  void SetUp() override {
    ModuleCalls::SetUp();
    scripted_device().phrases = {{"de 9998?", "de-de"}, {"de-de 10?", "Net"},
                                 {"de-de 20?", "Fax"},  {"de-de 101?", "A"},
                                 {"de-de 102?", "B"},   {"en-us 10?", "English"}};
  }

  // What the page receives for a clone file.
  static std::string groups(const std::string& file, const std::string& language = "de") {
    scripted_device().clone_file = file;
    Request request;
    std::snprintf(request->preferredLang, sizeof(request->preferredLang), "%s", language.c_str());
    journal().clear();
    parser().HTTP_Parser_Clone_fn(request.record(), nullptr);
    EXPECT_EQ(journal().prints().size(), 1U);
    return journal().page();
  }
};

using CloneReaders = CloneGroups;
using CloneDeathTest = CloneGroups;

TEST_F(CloneGroups, ArePrintedWithTheirSubGroups) {
  const std::tuple<const char*, const char*> rows[] = {
      {"1,10,,101,102\n", "10,Net,A?B?"},
      {"1,10,,101,102\n2,20,\n", "10,Net,A?B?,20,Fax,"},
      {"1,10,,101,102\n2,20,,\n", "10,Net,A?B?,20,Fax,"},
      {"2,20,\n1,10,,101\n2,20,\n", "20,Fax,10,Net,A?,20,Fax,"},
      {"1,10,\n", "10,Net"},
      {"1,10\n", "10,Net"},
      {"1, 10x,,102,x,0,,101 \n", "10,Net,B?A?"},
      {"no comma\n\n1,10,,101", "10,Net,A?"},
      {"1,10,,999,101\n", "10,Net,A?"},
      {"1,99,,101\n1,10,\n", "10,Net"},
      {"", ""},
      {"\n", ""},
  };
  for (const auto& [file, page] : rows) EXPECT_EQ(groups(file), page) << file;
}

TEST_F(CloneGroups, AreLoggedFromTheLanguageToTheEnd) {
  groups("1,10,,101\n");
  EXPECT_EQ(journal().lines(),
            (Lines{"log " + entered(kClone), "log " + parser_log(12, "displayLang = de-de"),
                   kOpenFile, kOpenFile, kOpenFile, "page 10,Net,A?", "log " + left(kClone)}));
}

TEST_F(CloneGroups, OfAnUnknownLanguageAreEnglish) {
  EXPECT_EQ(groups("1,10,\n", "xx"), "10,English");
  EXPECT_EQ(part(journal().logs(), 0, 3),
            (Lines{entered(kClone), parser_log(5, "Could not translate language token"),
                   parser_log(12, "displayLang = en-us")}));
}

TEST_F(CloneGroups, WithoutATranslationAreLeftOut) {
  EXPECT_EQ(groups("1,99,,101\n1,10,,98,101\n"), "10,Net,A?");
  EXPECT_EQ(part(journal().logs(), 2, 2),
            (Lines{parser_log(3, "Unable to translate the token 99"),
                   parser_log(3, "Unable to translate the token 98")}));
}

TEST_F(CloneGroups, AppearOnlyWhileTheirConditionHolds) {
  scripted_device().settings = {{"Some.Key", "on"}, {"Long", "12345678901234567890"}};
  const std::tuple<const char*, const char*> rows[] = {
      {"1,20,Some.Key == on,101\n", "20,Fax,A?"},
      {"1,20,Some.Key == on ,101\n", ""},
      {"1,20,Some.Key == ON,101\n", ""},
      {"1,20,Some.Key == on\n", ""},
      {"1,20,Some.Key == on", "20,Fax"},
      {"1,20,Some.Key == ,101\n", ""},
      {"1,20,Some.Key ==,101\n", ""},
      {"1,20,== on,101\n", "20,Fax,A?"},
      {"1,20,Other.Key == on,101\n", ""},
      {"1,20,Some.Key,101\n", "20,Fax,A?"},
      {"1,20,Some.Key = on,101\n", "20,Fax,A?"},
      {"1,20,Long == 12345678901234567890,101\n", "20,Fax,A?"},
      {"1,20,Long == 12345678901234567890+,101\n", "20,Fax,A?"},
      {"1,20,Long == 1234567890123456789,101\n", ""},
  };
  for (const auto& [file, page] : rows) EXPECT_EQ(groups(file), page) << file;
}

TEST_F(CloneGroups, TellWhyAConditionDoesNotHold) {
  groups("1,20,Other.Key == on,101\n");
  EXPECT_EQ(journal().calls().at(2), "Cfg_GetAttrValue('Other.Key', 1064)");
  EXPECT_EQ(journal().logs().at(2),
            parser_log(3, "Value for Other.Key could not be retrieved from the Config Server"));
  scripted_device().settings = {{"Other.Key", "off"}};
  groups("1,20,Other.Key == on,101\n");
  EXPECT_EQ(journal().logs().at(2), parser_log(3, "OptionCondition is not satisfied"));
}

TEST_F(CloneGroups, WithoutAFilePrintTheEmptyString) {
  for (const bool knows_paths : {true, false}) {
    Request request;
    scripted_device().knows_paths = knows_paths;
    journal().clear();
    parser().HTTP_Parser_Clone_fn(request.record(), nullptr);
    EXPECT_EQ(journal().prints(), (Lines{""}));
    EXPECT_EQ(journal().logs().at(3), parser_log(3, "Can't open clone web file"));
  }
}

TEST_F(CloneGroups, StayWithinTheirBuffers) {
  std::string file;
  std::string page;
  scripted_device().phrases["de-de 10?"] = std::string(100, 'n');
  for (int i = 0; i < 60; ++i) file += "1,10,\n", page += "10," + std::string(100, 'n') + ",";
  EXPECT_EQ(groups(file), page.substr(0, 2046));
}

TEST_F(CloneReaders, StoreAtMostFiftyTokens) {
  std::string lines;
  std::string subs = "1,7,";
  for (int i = 1; i <= 60; ++i) {
    lines += "x," + std::to_string(i) + ",\n";
    subs += "," + std::to_string(i % 10 + 1);
  }
  int tokens[51] = {};
  tokens[50] = -1;
  scripted_device().clone_file = lines;
  EXPECT_EQ(parser().FnGetGroupTokens(tokens), 50);
  EXPECT_EQ(tokens[49], 50);
  scripted_device().clone_file = subs;
  EXPECT_EQ(parser().FnGetSubStringTokens(7, tokens), 50);
  EXPECT_EQ(tokens[48], 10);
  EXPECT_EQ(tokens[49], 1);
  EXPECT_EQ(tokens[50], -1);
}

TEST_F(CloneReaders, TakeALongLineInPieces) {
  // The piece of 199 bytes ends before the second record's own comma.
  const std::string first = "1,10," + std::string(194, 'x');
  scripted_device().clone_file = first + "2,20,,101\n";
  int tokens[50] = {};
  EXPECT_EQ(parser().FnGetGroupTokens(tokens), 2);
  EXPECT_EQ(tokens[0], 10);
  EXPECT_EQ(tokens[1], 20);
  char key[1065] = "";
  char value[21] = "";
  EXPECT_EQ(parser().FnGetOptionalConditon(20, key, value), 0) << "its lines are longer";
}

TEST_F(CloneReaders, FindTheFirstRecordOfAToken) {
  scripted_device().clone_file = "1,10,,101\n1,10,,102\n1,11\n1,12,K == v\n";
  int tokens[50] = {};
  EXPECT_EQ(parser().FnGetSubStringTokens(10, tokens), 1);
  EXPECT_EQ(tokens[0], 101);
  for (const int without : {9, 11, 12}) {
    EXPECT_EQ(parser().FnGetSubStringTokens(without, tokens), 0);
  }
}

TEST_F(CloneReaders, SplitTheCondition) {
  const std::string long_key(1100, 'k');
  const std::tuple<std::string, std::string, std::string> rows[] = {
      {"1,10,Key == value,101\n", "Key", "value"},
      {"1,10,Key == value\n", "Key", "value\n"},
      {"1,10,Key==value,\n", "Ke", "alue"},
      {"1,10,,\n", "", ""},
      {"1,10\n", "", ""},
      {"1,10,Key,\n", "", ""},
      {"1,10," + long_key + " == v,\n", long_key.substr(0, 1064), "v"},
      {"1,10,K == " + std::string(30, 'v') + ",\n", "K", std::string(20, 'v')},
  };
  for (const auto& [file, condition, required] : rows) {
    scripted_device().clone_file = file;
    char key[1065] = "";
    char value[21] = "";
    EXPECT_EQ(parser().FnGetOptionalConditon(10, key, value), 1);
    EXPECT_EQ(key, condition);
    EXPECT_EQ(value, required);
  }
  char key[1065] = "kept";
  char value[21] = "kept";
  EXPECT_EQ(parser().FnGetOptionalConditon(11, key, value), 0);
  EXPECT_STREQ(key, "kept");
  EXPECT_STREQ(value, "kept");
}

TEST_F(CloneReaders, CloseTheFileOnEveryPath) {
  scripted_device().clone_file = "1,10,,101\n1,11\n1,12,K == v\n";
  int tokens[50];
  char key[1065] = "";
  char value[21] = "";
  journal().pause();
  const long before = held_blocks();
  parser().FnGetGroupTokens(tokens);
  for (const int token : {9, 10, 11, 12}) {
    parser().FnGetSubStringTokens(token, tokens);
    parser().FnGetOptionalConditon(token, key, value);
  }
  EXPECT_EQ(held_blocks(), before);
  journal().resume();
}

TEST_F(CloneDeathTest, NullRecordEndsTheProcess) {
  EXPECT_FATAL(parser().HTTP_Parser_Clone_fn(nullptr, nullptr),
               (Lines{entered(kClone), parser_log(3, "udata is NULL! Exiting!")}));
}

}  // namespace
