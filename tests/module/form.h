// A request record with its form, for one test.
// SPDX-License-Identifier: MIT
#ifndef TESTS_MODULE_FORM_H_
#define TESTS_MODULE_FORM_H_

#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "http_parser.h"
#include "journal.h"

struct Field {
  std::string name;
  std::string value;
};

using Fields = std::vector<Field>;

// The form entries and the record of one request; both may be changed by the test. Each value is
// one malloc block.
class Request {
 public:
  Request() : Request(Fields()) {}
  Request(std::initializer_list<Field> fields) : Request(Fields(fields)) {}
  explicit Request(Fields fields);
  ~Request();
  Request(const Request&) = delete;
  Request& operator=(const Request&) = delete;

  // The record; its own fields may be set by the test.
  QVN_AppData* operator->() { return &record_; }
  QVN_AppData* record() { return &record_; }
  FormEntry* entries() { return record_.entries; }
  int count() { return record_.num_entries; }
  std::string reason() const { return record_.Reason; }

 private:
  Fields fields_;
  std::vector<FormEntry> entries_;
  QVN_AppData record_{};
};

// A writable argument of a call.
class Argument {
 public:
  explicit Argument(std::string text) : text_(std::move(text)) {}
  operator char*() { return text_.data(); }           // NOLINT(google-explicit-constructor)
  std::string text() const { return text_.c_str(); }  // as far as its first terminator
  const std::string& bytes() const { return text_; }

 private:
  std::string text_;
};

// Path of `length` bytes that begins with `start`.
std::string padded(const std::string& start, std::size_t length);

#endif  // TESTS_MODULE_FORM_H_
