// A template of the store's, opened for reading.
// SPDX-License-Identifier: MIT
#ifndef HOST_STORED_TEMPLATE_H_
#define HOST_STORED_TEMPLATE_H_

#include <string>

#include "parser_module.h"

namespace platen {

class StoredTemplate {
 public:
  // Requires `module` to outlive the object.
  explicit StoredTemplate(const ParserModule& module);
  ~StoredTemplate();
  StoredTemplate(const StoredTemplate&) = delete;
  StoredTemplate& operator=(const StoredTemplate&) = delete;

  // Opens the template file `path` and visits every value. Returns why it cannot be read, in the
  // store's words, or "".
  std::string walk(const std::string& path, jt_visit visit, void* context);

 private:
  const ParserModule& module_;
  TemplateObject object_ = {};
};

}  // namespace platen

#endif  // HOST_STORED_TEMPLATE_H_
