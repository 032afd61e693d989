// The store's library exports the documented names alone, and its sources include nothing above
// them. SPDX-License-Identifier: MIT
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

std::set<std::string> exported_names() {
  std::unique_ptr<FILE, int (*)(FILE*)> listing(::popen("nm -D --defined-only " STORE_LIBRARY, "r"),
                                                ::pclose);
  std::set<std::string> names;
  char address[64], kind[8], name[512];
  while (std::fscanf(listing.get(), "%63s %7s %511s", address, kind, name) == 3) {
    names.insert(name);
  }
  return names;
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
  EXPECT_EQ(exported_names(), declared_names());
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
