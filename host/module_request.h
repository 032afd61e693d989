// One request's use of the module: its record, and the duties at its end.
// SPDX-License-Identifier: MIT
#ifndef HOST_MODULE_REQUEST_H_
#define HOST_MODULE_REQUEST_H_

#include <cstdint>
#include <string>
#include <vector>

#include "http_message.h"
#include "parser_module.h"
#include "request_record.h"

namespace platen {

// Whatever way it ends, the next request finds no template open and no value held, and the store's
// failures are in the log.
// How many failed saves and refused writes the store has told in this process.
int64_t failed_saves();

class ModuleRequest {
 public:
  // `language` is the code of an installed language. Requires `module` to outlive the object.
  ModuleRequest(const ParserModule& module, const std::vector<Field>& fields,
                const std::string& language);
  ~ModuleRequest();
  ModuleRequest(const ModuleRequest&) = delete;
  ModuleRequest& operator=(const ModuleRequest&) = delete;

  RequestRecord& record() { return record_; }
  const ParserModule& module() const { return module_; }

  // Opens the template at `path` for reading. Returns why it cannot be opened, or "".
  std::string open(const std::string& path);

  // Why the template that the record holds is not open, or "".
  std::string open_error() const;

  // Closes the open template without saving and without its hidden field in the page.
  void discard_open_template();

  // The failures that the store has told since the last call, which are logged and forgotten.
  std::vector<std::string> take_failures();

 private:
  const ParserModule& module_;
  RequestRecord record_;
};

}  // namespace platen

#endif  // HOST_MODULE_REQUEST_H_
