// A request record with its form, for one test.
// SPDX-License-Identifier: MIT
#include "form.h"

#include <cstdlib>
#include <cstring>

#include "loaded_module.h"

Request::Request(Fields fields) : fields_(std::move(fields)) {
  for (auto& [name, value] : fields_) {
    FormEntry entry{};
    entry.name = name.data();
    entry.val = strdup(value.c_str());
    entries_.push_back(entry);
  }
  record_.entries = entries_.data();
  record_.num_entries = static_cast<int>(entries_.size());
  record_.outfs = stdout;
}

// What a test leaves open is closed as the server closes it at the end of a request.
Request::~Request() {
  if (record_.parserTemplate != nullptr) {
    record_.outfs = nullptr;
    parser().HTTP_Close_Parser_fn(&record_, Argument("FALSE"));
  }
  for (FormEntry& entry : entries_) std::free(entry.val);
}

std::string padded(const std::string& start, std::size_t length) {
  return start + std::string(length - start.size(), 'x');
}
