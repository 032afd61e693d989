// A template file as ktp sees it: opened, read whole, edited and saved through the store.
// SPDX-License-Identifier: MIT
#ifndef CLI_TEMPLATE_FILE_H_
#define CLI_TEMPLATE_FILE_H_

#include <sys/types.h>

#include <string>
#include <string_view>
#include <vector>

#include "outcome.h"
#include "templateWrapper.h"

namespace ktp {

struct Value {
  std::string text;
  int line = 0;
};

struct Attribute {
  std::string service;
  std::string invocation;
  std::string name;
  std::string type;
  bool compulsory = false;
  int line = 0;  // where it begins
  std::vector<Value> values;
};

// A file of that mode, removed at the end. Throws Failure (save failed).
class TemporaryFile {
 public:
  TemporaryFile(std::string_view bytes, mode_t mode);
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile();

  [[nodiscard]] const std::string& path() const { return path_; }

 private:
  std::string path_;
};

// One open template. Every function throws Failure with the store's words.
class TemplateFile {
 public:
  explicit TemplateFile(const std::string& path);
  TemplateFile(const TemplateFile&) = delete;
  TemplateFile& operator=(const TemplateFile&) = delete;
  ~TemplateFile();

  TemplateObject* object() { return &object_; }
  [[nodiscard]] const std::string& path() const { return path_; }
  // All attributes in the order of the file.
  std::vector<Attribute> attributes();
  [[nodiscard]] std::string first_value(const char* service, const char* attribute);
  [[nodiscard]] bool has_service(const std::string& service);
  [[nodiscard]] std::vector<std::string> invocations(const std::string& service);
  void save();

 private:
  TemplateObject object_ = {};
  std::string path_;
};

// Reads a template, from standard input if the path is "-". Throws Failure.
std::vector<Attribute> read_template(const std::string& path);

// The path without links, "." and "..", as far as it is there.
std::string plain_path(const std::string& path);

// False also for what cannot be reached.
bool is_directory(const std::string& path);

// Throws Failure (not permitted) for the template that nobody changes by accident.
void guard(const std::string& path, bool force);

// Copies a template over a file. Throws Failure.
void copy_template(const std::string& from, const std::string& to);

std::string read_bytes(const std::string& path);

}  // namespace ktp

#endif  // CLI_TEMPLATE_FILE_H_
