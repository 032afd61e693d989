// What the store's tests share: a directory of their own, and templates that clean up.
// SPDX-License-Identifier: MIT
#ifndef TESTS_STORE_STORE_FIXTURE_H_
#define TESTS_STORE_STORE_FIXTURE_H_

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "templateWrapper.h"

namespace store_test {

class Directory {
 public:
  Directory() {
    const char* parent = std::getenv("TMPDIR");
    path_ = std::string(parent ? parent : "/tmp") + "/store_test.XXXXXX";
    EXPECT_NE(::mkdtemp(path_.data()), nullptr);
  }
  Directory(const Directory&) = delete;
  Directory& operator=(const Directory&) = delete;
  ~Directory() {
    ::chmod(path_.c_str(), 0700);
    std::filesystem::remove_all(path_);
  }

  [[nodiscard]] const std::string& path() const { return path_; }
  [[nodiscard]] std::string file(std::string_view name) const {
    return path_ + "/" + std::string(name);
  }
  std::string write(std::string_view name, std::string_view bytes) const {
    std::ofstream(file(name), std::ios::binary) << bytes;
    return file(name);
  }
  [[nodiscard]] std::vector<std::string> names() const {
    std::vector<std::string> found;
    for (const auto& entry : std::filesystem::directory_iterator(path_)) {
      found.push_back(entry.path().filename());
    }
    return found;
  }

 private:
  std::string path_;
};

inline std::string bytes_of(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream bytes;
  bytes << file.rdbuf();
  return bytes.str();
}

inline struct stat info_of(const std::string& path) {
  struct stat info = {};
  EXPECT_EQ(::lstat(path.c_str(), &info), 0) << path;
  return info;
}

inline std::string take_failures() {
  char* lines = jt_failures();
  std::string text = lines ? lines : "";
  std::free(lines);
  return text;
}

// A template object that is constructed, and destroyed with its owner.
class Template {
 public:
  Template() { CKwtTemplate(&object_); }
  explicit Template(const std::string& path) : Template() {
    EXPECT_EQ(Open(&object_, path.c_str(), 2), 1) << jt_error(&object_);
  }
  Template(const Template&) = delete;
  Template& operator=(const Template&) = delete;
  ~Template() { DestructorCKwtTemplate(&object_); }

  TemplateObject* get() { return &object_; }
  TemplateObject* operator->() { return &object_; }
  [[nodiscard]] std::string error() const { return jt_error(&object_); }

  // The value, or "(none)".
  std::string read(const char* service, const char* invocation, const char* attribute,
                   bool_t first = TRUE) {
    char* value =
        ReadAttributeStringWInvocUseFirstAsString(&object_, service, invocation, attribute, first);
    std::string text = value ? value : "(none)";
    jt_destroy_value_string(&object_, value);
    return text;
  }

  std::vector<std::string> read_all(const char* service, const char* invocation,
                                    const char* attribute) {
    std::vector<std::string> values;
    std::string value = read(service, invocation, attribute);
    for (; value != "(none)"; value = read(service, invocation, attribute, FALSE)) {
      values.push_back(value);
    }
    return values;
  }

  std::vector<std::string> invocations(const char* service) {
    std::vector<std::string> names;
    const INVOCATION_STRUCT* node = ListInvocations(&object_, service);
    for (; node; node = node->next) names.emplace_back(node->szInvocationName);
    return names;
  }

 private:
  TemplateObject object_;
};

}  // namespace store_test

#endif  // TESTS_STORE_STORE_FIXTURE_H_
