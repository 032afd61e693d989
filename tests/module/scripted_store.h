// A store without files: it writes each call into the journal and answers as the test scripts.
// SPDX-License-Identifier: MIT
#ifndef TESTS_MODULE_SCRIPTED_STORE_H_
#define TESTS_MODULE_SCRIPTED_STORE_H_

#include <deque>
#include <map>
#include <string>
#include <vector>

#include "templateWrapper.h"

struct ScriptedStore {
  // Results of an operation by its name, used up one a call; then the one that means success.
  std::map<std::string, std::deque<int>> results;
  KWTSTATUS error_after_open = KWT_SUCCESS;  // m_erno that a failed Open() leaves

  std::vector<std::string> files;        // what a pool lists
  std::vector<std::string> invocations;  // what a template lists, whatever the service
  // Values by attribute; by "FILE ATTRIBUTE" for one file alone.
  std::map<std::string, std::vector<std::string>> values;
  std::string new_name = "new1";  // what the create functions write into the name's buffer
  bool replaces = true;           // whether StringReplace() has memory
};

// The script of the running test; a new one begins with scripted_store() = {}.
ScriptedStore& scripted_store();

// Releases the values that were read and not handed back.
void release_scripted_values();

#endif  // TESTS_MODULE_SCRIPTED_STORE_H_
