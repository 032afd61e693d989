// The groups of the clone page as the module offers them, and why others are left out.
// SPDX-License-Identifier: MIT
#ifndef HOST_CLONE_MENU_H_
#define HOST_CLONE_MENU_H_

#include <set>
#include <string>
#include <vector>

#include "parser_module.h"

namespace platen {

struct CloneSubGroup {
  int token;
  std::string name;
};

struct CloneGroup {
  int token;
  std::string name;
  std::vector<CloneSubGroup> subs;
};

struct CloneMenu {
  std::vector<CloneGroup> groups;     // in the order of the device's clone file
  std::vector<std::string> left_out;  // one sentence for each group or sub-group that is not there

  // The tokens of all groups and sub-groups.
  std::set<int> tokens() const;

  // The name of a group or sub-group; "" when it is not offered.
  std::string name_of(int token) const;
};

// Asks the module for the groups, in the language of that code. Why it left some out it tells by
// lines of the log alone; they become sentences for the administrator.
CloneMenu read_clone_menu(const ParserModule& module, const std::string& language);

}  // namespace platen

#endif  // HOST_CLONE_MENU_H_
