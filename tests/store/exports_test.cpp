// The store exports the documented names alone, calls none of them, and includes nothing above it.
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cctype>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <regex>
#include <set>
#include <sstream>
#include <string>

namespace {

std::string text_of(const std::filesystem::path& path) {
  std::ifstream file(path);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

// The words that a command prints.
std::set<std::string> words_of(const std::string& command) {
  std::unique_ptr<FILE, int (*)(FILE*)> listing(::popen(command.c_str(), "r"), ::pclose);
  std::set<std::string> words;
  char word[4096];
  while (std::fscanf(listing.get(), "%4095s", word) == 1) words.insert(word);
  return words;
}

// The names of the functions that the public header declares: those that end a declaration's start.
std::set<std::string> declared_names() {
  std::string header = text_of(STORE_SOURCES "/templateWrapper.h");
  header = std::regex_replace(header, std::regex("/\\*[^*]*(\\*+[^*/][^*]*)*\\*+/"), "");
  std::regex declaration("\\n\\w[\\w ]*[ *]+(\\w+)\\(");
  std::set<std::string> names;
  for (std::sregex_iterator it(header.begin(), header.end(), declaration), end; it != end; ++it) {
    names.insert((*it)[1]);
  }
  names.erase("jt_visit");
  return names;
}

TEST(Library, ExportsTheDocumentedNamesAndNoOthers) {
  EXPECT_EQ(declared_names().count("jt_walk"), 1U);
  EXPECT_EQ(words_of("nm -D --defined-only --format=just-symbols " STORE_LIBRARY),
            declared_names());
}

// A call of an exported function goes through the loader, so that a program may stand before it.
TEST(Library, CallsNoneOfItsOwnExports) {
  const std::set<std::string> relocated = words_of("readelf --relocs --wide " STORE_LIBRARY);
  EXPECT_GT(relocated.size(), 10U);
  for (const std::string& name : declared_names()) EXPECT_EQ(relocated.count(name), 0U) << name;
}

TEST(Sources, IncludeOnlyTheirOwnHeaders) {
  std::regex include("#include \"([^\"]+)\"");
  int seen = 0;
  for (const auto& entry : std::filesystem::directory_iterator(STORE_SOURCES)) {
    std::string text = text_of(entry.path());
    for (std::sregex_iterator it(text.begin(), text.end(), include), end; it != end; ++it, ++seen) {
      std::string name = (*it)[1];
      EXPECT_TRUE(std::filesystem::exists(std::filesystem::path(STORE_SOURCES) / name))
          << entry.path() << " includes " << name;
    }
  }
  EXPECT_GT(seen, 10);
}

}  // namespace
