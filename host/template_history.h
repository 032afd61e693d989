// What pages show of a template beside its present content.
// SPDX-License-Identifier: MIT
#ifndef HOST_TEMPLATE_HISTORY_H_
#define HOST_TEMPLATE_HISTORY_H_

#include <vector>

#include "http_message.h"
#include "output_format.h"
#include "parser_module.h"

namespace platen {

class TemplateHistory {
 public:
  // Requires `module` to outlive the object.
  explicit TemplateHistory(const ParserModule& module) : module_(module) {}

  // The difference that a page with these query fields is about, as difference_json() gives it: a
  // factory template before the one of its name that the device uses. Null when it is about none.
  // Requires: fields that policy lets through.
  Json difference(const std::vector<Field>& query) const;

 private:
  const ParserModule& module_;
};

}  // namespace platen

#endif  // HOST_TEMPLATE_HISTORY_H_
