// Tests of the phrases and of the choice of a language.
// SPDX-License-Identifier: MIT
#include "device/phrases.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "platform/server.h"
#include "temporary_directory.h"

namespace platen {
namespace {

class PhrasesTest : public testing::Test {
 protected:
  void SetUp() override {
    directory_.write("en-us.txt",
                     "\xEF\xBB\xBF"
                     "10\tNetwork\npage.title\tScan templates\n");
    directory_.write("de-de.txt", "10\tNetzwerk mit, allem?\r\n# nur auf Deutsch\n11\tFarbe\n");
    directory_.write("de-ch.txt", "10\tNetz\n");
    directory_.write("README", "not a phrase file");
    std::string error;
    ASSERT_TRUE(load_phrases({directory_.path()}, &error)) << error;
  }

  std::string load_error() const {
    std::string error;
    EXPECT_FALSE(load_phrases({directory_.path()}, &error));
    EXPECT_STREQ(Server_Translate_Phrase("10?", "en-us"), "Network");
    return error;
  }

  TemporaryDirectory directory_;
};

TEST_F(PhrasesTest, TranslatesATokenIntoEachLanguage) {
  EXPECT_STREQ(Server_Translate_Phrase("10?", "en-us"), "Network");
  EXPECT_STREQ(Server_Translate_Phrase("10?", "de-de"), "Netzwerk mit, allem?");
  EXPECT_STREQ(Server_Translate_Phrase("page.title?", "en-us"), "Scan templates");
}

TEST_F(PhrasesTest, NamesTheLanguageItself) {
  EXPECT_STREQ(Server_Translate_Phrase("9998?", "en-us"), "en-us");
  EXPECT_STREQ(Server_Translate_Phrase("9998?", "de-de"), "de-de");
}

TEST_F(PhrasesTest, UnknownTokensAndLanguagesHaveNoText) {
  EXPECT_EQ(Server_Translate_Phrase("11?", "en-us"), nullptr);
  EXPECT_EQ(Server_Translate_Phrase("10", "en-us"), nullptr);
  EXPECT_EQ(Server_Translate_Phrase("?", "en-us"), nullptr);
  EXPECT_EQ(Server_Translate_Phrase("10?", "fr-fr"), nullptr);
  EXPECT_EQ(Server_Translate_Phrase("10?", "EN-US"), nullptr);
  EXPECT_EQ(Server_Translate_Phrase("9998?", ""), nullptr);
}

TEST_F(PhrasesTest, ListsTheLoadedLanguages) {
  EXPECT_EQ(languages(), (std::vector<std::string>{"de-ch", "de-de", "en-us"}));
}

TEST_F(PhrasesTest, ChoosesTheBestLanguageForAHeader) {
  const struct {
    const char *header, *code;
  } rows[] = {
      {"", "en-us"},
      {"de-DE,de;q=0.9,en;q=0.8", "de-de"},
      {"en;q=0.8, de-de", "de-de"},
      {"fr-FR, de;q=0.5, en;q=0.4", "de-ch"},
      {"de-AT", "de-ch"},
      {"de-de;q=0, en", "en-us"},
      {"de-de;q=x", "en-us"},
      {"en-gb , de-de", "en-us"},
      {"de-ch ; Q=0.2 , de-de;q=0.3", "de-de"},
      {"*", "en-us"},
      {",;,;q=,de-de\xFF", "de-ch"},
  };
  for (const auto& row : rows) EXPECT_EQ(best_language(row.header), row.code) << row.header;
}

TEST_F(PhrasesTest, ABrokenFileIsToldWithItsLineAndChangesNothing) {
  std::string file = directory_.write("en-us.txt", "10\tNetwork\n11 Colour\n");
  EXPECT_EQ(load_error(), file + ":2: no tab between key and text");
  directory_.write("en-us.txt", "10\tA\n10\tB\n");
  EXPECT_EQ(load_error(), file + ":2: '10' already stands in line 1");
  directory_.write("en-us.txt", "9998\ten-gb\n");
  EXPECT_EQ(load_error(), file + ":1: 9998 is the language's own code, given by the file's name");
}

TEST_F(PhrasesTest, OnlyUtf8IsText) {
  std::string file = directory_.file("en-us.txt");
  for (std::string_view bytes :
       {"\x80", "\xC1\x81", "\xE0\x9F\x80", "\xED\xA0\x80", "\xE2\x82", "\xC3("}) {
    directory_.write("en-us.txt", "10\t" + std::string(bytes) + "\n");
    EXPECT_EQ(load_error(), file + ":1: not UTF-8; save the file in this encoding");
  }
  std::string good = "\xC3\xBC\xE0\xA0\x80\xED\x9F\xBF\xEF\xBF\xBD\xF0\x90\x80\x80\xF4\x8F\xBF\xBF";
  directory_.write("en-us.txt", "10\t" + good + "\n");
  std::string error;
  ASSERT_TRUE(load_phrases({directory_.path()}, &error)) << error;
  EXPECT_EQ(Server_Translate_Phrase("10?", "en-us"), good);
}

TEST_F(PhrasesTest, AFileMustBeNamedAfterItsLanguage) {
  std::string file = directory_.write("Deutsch.txt", "10\tx\n");
  EXPECT_EQ(load_error(), file + ": 'Deutsch' is no language code in lower case, such as de-de");
}

TEST_F(PhrasesTest, ALaterDirectoryAddsAndReplaces) {
  TemporaryDirectory device;
  device.write("de-de.txt", "11\tBunt\n12\tFax\n");
  device.write("fr-fr.txt", "10\tRéseau\n");
  std::string error;
  ASSERT_TRUE(load_phrases({directory_.path(), device.path()}, &error)) << error;
  EXPECT_EQ(languages(), (std::vector<std::string>{"de-ch", "de-de", "en-us", "fr-fr"}));
  EXPECT_STREQ(Server_Translate_Phrase("10?", "de-de"), "Netzwerk mit, allem?");
  EXPECT_STREQ(Server_Translate_Phrase("11?", "de-de"), "Bunt");
  EXPECT_STREQ(Server_Translate_Phrase("12?", "de-de"), "Fax");
  EXPECT_STREQ(Server_Translate_Phrase("10?", "fr-fr"), "Réseau");
  EXPECT_STREQ(Server_Translate_Phrase("9998?", "fr-fr"), "fr-fr");
}

TEST_F(PhrasesTest, ADirectoryThatIsMissingHoldsNoLanguage) {
  std::string error;
  EXPECT_TRUE(load_phrases({directory_.file("none"), directory_.path()}, &error)) << error;
  EXPECT_EQ(languages(), (std::vector<std::string>{"de-ch", "de-de", "en-us"}));
}

TEST_F(PhrasesTest, TheDefaultLanguageMustBeInADirectory) {
  std::filesystem::remove(directory_.file("en-us.txt"));
  EXPECT_EQ(load_error(), "en-us.txt is missing; it must stand in " + directory_.path());
  std::string error;
  EXPECT_FALSE(load_phrases({directory_.path(), "/none"}, &error));
  EXPECT_EQ(error, "en-us.txt is missing; it must stand in " + directory_.path() + " or /none");
}

TEST_F(PhrasesTest, AFileInPlaceOfADirectoryIsTold) {
  const std::string file = directory_.file("README");
  std::string error;
  EXPECT_FALSE(load_phrases({file}, &error));
  EXPECT_EQ(error, file + ": cannot be read: Not a directory");
}

TEST_F(PhrasesTest, ACheckFindsFaultsAndChangesNothing) {
  TemporaryDirectory device;
  device.write("de-de.txt", "10\tNetz\n");
  std::string error;
  EXPECT_TRUE(check_phrases({device.path()}, &error)) << error;
  const std::string file = device.write("de-de.txt", "10\n");
  EXPECT_FALSE(check_phrases({directory_.path(), device.path()}, &error));
  EXPECT_EQ(error, file + ":1: no tab between key and text");
  EXPECT_STREQ(Server_Translate_Phrase("10?", "de-de"), "Netzwerk mit, allem?");
}

}  // namespace
}  // namespace platen
