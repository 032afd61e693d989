// Expands a page for one request: calls its parser functions and gathers what they print.
// SPDX-License-Identifier: MIT
#ifndef HOST_PAGE_EXPANSION_H_
#define HOST_PAGE_EXPANSION_H_

#include <string>

#include "http_message.h"
#include "page.h"
#include "parser_module.h"

namespace platen {

struct Expansion {
  std::string text;    // the page
  std::string fault;   // why it could not be expanded; empty = it was
  std::string reason;  // the failure that the module told, such as a template that did not open
};

// Expands `page`. Printed text is never read for tags. `language` is the code of an installed
// language. At the end no template is open, the values read are released, and the store's failures
// are in the log, as is why a template could not be opened.
// Requires: a page without faults.
Expansion expand_page(const Page& page, const ParserModule& module,
                      const std::vector<Field>& fields, const std::string& language);

}  // namespace platen

#endif  // HOST_PAGE_EXPANSION_H_
