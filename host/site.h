// The pages of the device: checked at start, parsed once, expanded for each request.
// SPDX-License-Identifier: MIT
#ifndef HOST_SITE_H_
#define HOST_SITE_H_

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "http_message.h"
#include "page.h"
#include "page_expansion.h"
#include "parser_module.h"

namespace platen {

// Everything below the directory that ends in ".html", ".js" or ".php" is a page, but for what lies in
// "static", which the web server sends as it is, and for hidden files.
class Site {
 public:
  // `pages` is the directory of the page sources. `module` may be null for a check without a
  // device.
  Site(std::string pages, const ParserModule* module);

  // Reads every page below the directory. Returns one line per fault, "PAGE:LINE:COLUMN: reason",
  // in page order; empty means that every page may be served.
  std::vector<std::string> check() const;

  // Answers one request for a page. Never throws; a fault of the page is a 500 with its cause in
  // the log, an unknown page a 404, a query field that policy refuses a 400 that says which and
  // why. A page that was shown although its template could not be opened has the status 404.
  // At its end no template is open, the values read are released, and failures of the store are in
  // the log.
  // `values` gives what the host's own tags show. Requires: a module.
  Response serve(const Request& request, const HostValues& values = nullptr);

 private:
  Response answer(const Request& request, const HostValues& values);
  Response answer_page(const std::string& name, const Request& request, const HostValues& values);
  std::string find_page(const std::string& path) const;  // its name; "" when there is none
  static Response run_page(const std::string& name, const Request& request, Response response);
  std::shared_ptr<const Page> page(const std::string& name);

  std::string pages_;
  const ParserModule* module_;
  std::unordered_map<std::string, std::shared_ptr<const Page>> cache_;
};

}  // namespace platen

#endif  // HOST_SITE_H_
