// Tests of what the host tells a visitor in the visitor's language.
// SPDX-License-Identifier: MIT
#include "said.h"

#include <gtest/gtest.h>

#include "../device/temporary_directory.h"
#include "device/phrases.h"

namespace platen {
namespace {

class SaidTest : public testing::Test {
 protected:
  SaidTest() {
    directory_.write("en-us.txt", "Go back.\tGo back now.\n");
    directory_.write("de-de.txt",
                     "Wait {1} seconds.\tWarten Sie {1} Sekunden.\n"
                     "\"{1}\" is no {2}.\tEin {2} ist „{1}“ nicht.\n"
                     "Is it so?\tIst es so?\n");
    std::string error;
    EXPECT_TRUE(load_phrases({directory_.path()}, &error)) << error;
  }
  ~SaidTest() override { speak("en-us"); }

  TemporaryDirectory directory_;
};

TEST_F(SaidTest, SpeaksTheLanguageOfTheVisitor) {
  speak("de-de");
  EXPECT_EQ(said("Wait {1} seconds.", 20), "Warten Sie 20 Sekunden.");
  EXPECT_EQ(said("\"{1}\" is no {2}.", "x", std::string("Name")), "Ein Name ist „x“ nicht.");
  EXPECT_EQ(said("Is it so?"), "Ist es so?");
  EXPECT_EQ(said(Sentence("Wait {1} seconds."), 5L), "Warten Sie 5 Sekunden.");
  speak("en-us");
  EXPECT_EQ(said("Wait {1} seconds.", 20U), "Wait 20 seconds.");
  EXPECT_EQ(said("Go back."), "Go back now.");
}

TEST_F(SaidTest, SpeaksEnglishWhereTheLanguageHasNoText) {
  for (const char* language : {"de-de", "fr-fr", ""}) {
    speak(language);
    EXPECT_EQ(said("\"{1}\" is missing.", "a.KTP"), "\"a.KTP\" is missing.");
  }
}

TEST_F(SaidTest, SpeaksAnotherLanguageForAWhile) {
  speak("de-de");
  {
    const Speaking to_the_log(kDefaultLanguage);
    EXPECT_EQ(said("Is it so?"), "Is it so?");
  }
  EXPECT_EQ(said("Is it so?"), "Ist es so?");
  EXPECT_EQ(spoken_language(), "de-de");
}

TEST_F(SaidTest, SearchesWhatWasPutInForNoMarks) {
  EXPECT_EQ(said("{1}{2} and {1}", "{2}", "{1}"), "{2}{1} and {2}");
}

TEST_F(SaidTest, KeepsWhatIsNoMark) {
  EXPECT_EQ(said("{0}{2}{10}{x}{1 {", "a"), "{0}{2}{10}{x}{1 {");
}

}  // namespace
}  // namespace platen
