// Checks that everything a page prints stands where its format is safe.
// SPDX-License-Identifier: MIT
#ifndef HOST_PAGE_CHECK_H_
#define HOST_PAGE_CHECK_H_

#include <string_view>

#include "page.h"

namespace platen {

// Adds a fault for each tag whose output would stand in a wrong place, for each inline script,
// style or event of an HTML page, for a string of a script page with tags that is not closed, and
// for each function that would close the page's open template. `name` tells by its suffix what the
// page is.
void check_page(std::string_view name, Page* page);

}  // namespace platen

#endif  // HOST_PAGE_CHECK_H_
