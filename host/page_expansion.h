// Expands a page for one request: calls its parser functions and gathers what they print.
// SPDX-License-Identifier: MIT
#ifndef HOST_PAGE_EXPANSION_H_
#define HOST_PAGE_EXPANSION_H_

#include <functional>
#include <string>

#include "http_message.h"
#include "output_format.h"
#include "page.h"
#include "parser_module.h"

namespace platen {

struct Expansion {
  std::string text;    // the page
  std::string fault;   // why it could not be expanded; empty = it was
  std::string reason;  // the failure that the module told, such as a template that did not open
};

// Gives what a tag of the host's own shows: for the token the text of its hidden field, as a text or
// null; for a reason why a form was refused as a text, else true for visitors who are told what the
// store says of a template that cannot be opened. Asked once for each tag that is expanded.
using HostValues = std::function<Json(const PageTag& tag)>;

// Expands `page`. Printed text is never read for tags. `language` is the code of an installed
// language. At the end no template is open, the values read are released, and the store's failures
// are in the log, as is why a template could not be opened. Without `values` they are all null.
// Requires: a page without faults.
Expansion expand_page(const Page& page, const ParserModule& module,
                      const std::vector<Field>& fields, const std::string& language,
                      const HostValues& values = nullptr);

}  // namespace platen

#endif  // HOST_PAGE_EXPANSION_H_
