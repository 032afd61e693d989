// A site of pages in a directory of its own, with a module of test doubles under it.
// SPDX-License-Identifier: MIT
#ifndef TESTS_HOST_PAGE_FIXTURE_H_
#define TESTS_HOST_PAGE_FIXTURE_H_

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "device/configuration.h"
#include "parser_module.h"

namespace platen {

// What the doubles print, and what they saw. The doubles print through the host's own adiprintf().
struct ModuleDouble {
  std::vector<std::string> values;   // of every attribute
  std::vector<std::string> calls;    // "FUNCTION(ARGUMENT)", with "+page" when outfs was there
  std::vector<std::string> entries;  // "NAME=VALUE" as the last call got them
  std::vector<std::string> log;      // "LEVEL SOURCE TEXT"
  std::string language;              // preferredLang as the last call got it
  std::string failures;              // what jt_failures() tells; "" = nothing
  std::string open_error;            // what jt_error() tells
  std::vector<std::string> history;  // "DIRECTORY KEEP WHO" of each jt_history()
  std::string login;                 // loginName as a form handler got it; "-" = null
  int result = 0;                    // what a form handler returns,
  std::string reason;                // leaves in Reason,
  std::string error;                 // and logs as an error; "" = nothing
  std::vector<ConfigurationChange> changes;  // of settings, newest first
  bool prints_unknown_format = false;
  bool throws = false;
};

class PageFixture : public ::testing::Test {
 protected:
  PageFixture();
  ~PageFixture() override;

  // Writes a file below the pages directory, with the directories that it needs.
  void write(const std::string& name, std::string_view text) const;

  std::string root_;     // a temporary directory
  std::string pages_;    // the pages directory in it
  ParserModule module_;  // calls the doubles
};

// The one double of the process, fresh for each PageFixture.
ModuleDouble& module_double();

}  // namespace platen

#endif  // TESTS_HOST_PAGE_FIXTURE_H_
