// The real store under the module, its device paths mapped into a directory of the test's own.
// SPDX-License-Identifier: MIT
#ifndef TESTS_MODULE_REAL_STORE_H_
#define TESTS_MODULE_REAL_STORE_H_

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "form.h"
#include "templateWrapper.h"

using Values = std::vector<std::string>;

// One attribute of a template that a test lays down; the service's first invocation holds it.
struct StoredAttribute {
  std::string service;
  std::string attribute;
  std::string type;
  Values values;
};

// A test with a device tree of its own: the template pools and the mailbox spool lie in a temporary
// directory, which goes when the test ends.
class ModuleFiles : public testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  // Where the file of a device path really lies.
  static std::string real_path(const std::string& device_path);

  // Lays a template down; a former one of that path goes.
  static void write_template(const std::string& device_path,
                             const std::vector<StoredAttribute>& attributes);
  // Lays any bytes down.
  static void write_bytes(const std::string& device_path, const std::string& bytes);
  // The whole file, or "(none)".
  static std::string bytes(const std::string& device_path);
  // Values that a template's file holds; an empty invocation name means the service's first one.
  static Values stored(const std::string& device_path, const std::string& service,
                       const std::string& attribute, const std::string& invocation = "");
  // Names of the invocations that a template's file holds.
  static Values invocations(const std::string& device_path, const std::string& service);
  // Releases the values that the module left to the store.
  static void release_values();
};

#endif  // TESTS_MODULE_REAL_STORE_H_
