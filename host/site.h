// The pages of the device: checked at start, parsed once, expanded for each request.
// SPDX-License-Identifier: MIT
#ifndef HOST_SITE_H_
#define HOST_SITE_H_

#include <string>
#include <vector>

#include "http_message.h"
#include "parser_module.h"

namespace platen {

class Site {
 public:
  // `pages` is the directory of the page sources. `module` may be null for a check without a device.
  Site(std::string pages, const ParserModule* module);

  // Reads every page below the directory. Returns one line per fault, "PAGE:LINE:COLUMN: reason",
  // in page order; empty means that every page may be served.
  std::vector<std::string> check() const;

  // Answers one request for a page. Never throws; a fault of the page is a 500 with its cause in the
  // log, an unknown page a 404, a query field that policy refuses a 400 that says which and why.
  // At its end no template is open, the values read are released, and failures of the store are told.
  Response serve(const Request& request);
};

}  // namespace platen

#endif  // HOST_SITE_H_
