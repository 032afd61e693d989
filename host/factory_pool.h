// The factory templates beside those that the device uses.
// SPDX-License-Identifier: MIT
#ifndef HOST_FACTORY_POOL_H_
#define HOST_FACTORY_POOL_H_

#include "output_format.h"
#include "parser_module.h"

namespace platen {

// The factory templates, sorted by name: [{"name", "system": STATE, "mailbox": STATE}]. The state of
// the template of that name in the pool is "missing", "same", "different", or "broken" where it or
// the factory's cannot be read. That a restore writes the file's name into a template makes no
// difference.
Json factory_templates(const ParserModule& module);

}  // namespace platen

#endif  // HOST_FACTORY_POOL_H_
