// One object of the store from its making to its end.
// SPDX-License-Identifier: MIT
#include "stored_template.h"

#include <fcntl.h>

namespace platen {

StoredTemplate::StoredTemplate(const ParserModule& module) : module_(module) {
  module_.construct_template(&object_);
}

StoredTemplate::~StoredTemplate() { module_.destruct_template(&object_); }

std::string StoredTemplate::walk(const std::string& path, jt_visit visit, void* context) {
  const bool is_read = module_.open_template(&object_, path.c_str(), O_RDONLY) != 0 &&
                       module_.walk(&object_, visit, context) == 0;
  return is_read ? "" : module_.error(&object_);
}

}  // namespace platen
