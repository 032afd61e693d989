// What a request may ask for, decided before any page or parser function runs.
// SPDX-License-Identifier: MIT
//
// Parser functions read form entries by name and trust most of what they find, so a field that is
// not in the table of policy.cpp is refused, whatever page it was sent to.
#ifndef HOST_POLICY_H_
#define HOST_POLICY_H_

#include <string>
#include <vector>

#include "http_message.h"

namespace platen {

// Returns why a page may not get these query fields, as a sentence that names the field and says
// what to do; "" when it may.
std::string refuse_page_fields(const std::vector<Field>& fields);

}  // namespace platen

#endif  // HOST_POLICY_H_
