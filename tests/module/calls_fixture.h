// Fixture of the tests that run the module over the scripted store.
// SPDX-License-Identifier: MIT
#ifndef TESTS_MODULE_CALLS_FIXTURE_H_
#define TESTS_MODULE_CALLS_FIXTURE_H_

#include <gtest/gtest.h>

#include <string>

#include "allocations.h"
#include "form.h"
#include "journal.h"
#include "loaded_module.h"
#include "scripted_device.h"
#include "scripted_store.h"
#include "template_lines.h"

class ModuleCalls : public testing::Test {
 protected:
  void SetUp() override {
    parser();
    scripted_store() = {};
    scripted_device() = {};
    journal().clear();
  }
  void TearDown() override { release_scripted_values(); }
};

// Opens a template as a page does, and forgets what that took.
inline void open(Request& request, const std::string& path = "/tmp/template/pool/a.KTP") {
  parser().HTTP_Open_Parser_fn(request.record(), Argument(path));
  journal().clear();
}

// The store call that writes a copy's file name into it.
inline std::string naming_call(const std::string& name) {
  std::string call =
      "WriteAttributeStringWInvoc(tpl, 'qvn_svc_general', NULL, 'JobTemplateName', '";
  return call.append(name).append("')");
}

// A null request record: the function enters, tells `text` and ends the process; there is no EXIT.
#define EXPECT_FATAL(statement, logs) \
  EXPECT_EXIT(                        \
      {                               \
        journal().echo();             \
        statement;                    \
      },                              \
      testing::ExitedWithCode(1), testing::Eq(echoed(logs)))

#endif  // TESTS_MODULE_CALLS_FIXTURE_H_
