// The templates of a directory.
// SPDX-License-Identifier: MIT
#ifndef STORE_TEMPLATE_POOL_H_
#define STORE_TEMPLATE_POOL_H_

#include <string>
#include <string_view>
#include <vector>

#include "template_status.h"

#pragma GCC visibility push(hidden)

namespace store {

// True for NAME.KTP in upper or lower case, unless hidden by a leading dot or without a NAME.
bool is_template_name(std::string_view name);

// Fills the empty `names` with the regular template files of the directory, sorted by bytes.
Status list_templates(const char* directory, std::vector<std::string>* names);

}  // namespace store

#pragma GCC visibility pop

#endif  // STORE_TEMPLATE_POOL_H_
