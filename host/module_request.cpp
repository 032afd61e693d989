// The request record from its making to its end.
// SPDX-License-Identifier: MIT
#include "module_request.h"

#include <cstdlib>
#include <memory>
#include <sstream>
#include <utility>

#include "platform/log.h"

namespace platen {
namespace {

constexpr const char* kSource = "module_request.cpp";

int64_t failures_so_far = 0;

struct FreeDeleter {
  void operator()(char* text) const { std::free(text); }
};

}  // namespace

int64_t failed_saves() { return failures_so_far; }

ModuleRequest::ModuleRequest(const ParserModule& module, const std::vector<Field>& fields,
                             const std::string& language)
    : module_(module), record_(fields, language) {}

ModuleRequest::~ModuleRequest() {
  discard_open_template();
  module_.release_values();
  take_failures();
}

std::string ModuleRequest::open(const std::string& path) {
  std::string argument = path;
  module_.output_function("HTTP_Open_Parser_fn")(&record_, argument.data());
  return open_error();
}

std::string ModuleRequest::open_error() const {
  return module_.error(static_cast<const TemplateObject*>(record_.parserTemplate));
}

void ModuleRequest::discard_open_template() {
  FILE* page = std::exchange(record_.outfs, nullptr);
  char discard[] = "FALSE";
  if (record_.parserTemplate != nullptr) module_.close_template(&record_, discard);
  record_.outfs = page;
}

std::vector<std::string> ModuleRequest::take_failures() {
  std::vector<std::string> lines;
  const std::unique_ptr<char, FreeDeleter> failures(module_.failures());
  std::istringstream text(failures == nullptr ? "" : failures.get());
  for (std::string line; std::getline(text, line);) {
    Log_Entry(LOG_LEVEL_ERROR, kSource, __LINE__, "%s", line.c_str());
    lines.push_back(std::move(line));
    ++failures_so_far;
  }
  return lines;
}

}  // namespace platen
