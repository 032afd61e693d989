// Stores what was chosen from a clone file.
// SPDX-License-Identifier: MIT
#ifndef HOST_CLONE_APPLY_H_
#define HOST_CLONE_APPLY_H_

#include <string>
#include <vector>

#include "clone_summary.h"
#include "parser_module.h"

namespace platen {

// How it went.
struct CloneResult {
  std::vector<std::string> done;     // paths and keys
  std::vector<std::string> missing;  // those that were not stored
  std::string fault;                 // why the first of them was not, as a sentence; "" = all done
  bool concerns_mailbox = false;     // the mailbox's templates are to be brought in line
};

// Stores the items in their order, each whole; the first that fails ends it. What a template held
// before is in its history. A template that makes a mailbox folder makes its directory too.
// Requires: items that are applicable.
CloneResult apply_clone(const ParserModule& module, const std::vector<CloneItem>& items);

}  // namespace platen

#endif  // HOST_CLONE_APPLY_H_
