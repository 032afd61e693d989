// Where a form was sent from.
// SPDX-License-Identifier: MIT
#ifndef HOST_ORIGIN_H_
#define HOST_ORIGIN_H_

#include <string>

#include "http_message.h"

namespace platen {

// Returns why a form may not come from where its browser says, or "". It must come from a page of
// this server: Origin and Referer, where they are sent, have the scheme and host that the browser
// has asked, and one of them is sent.
std::string refuse_origin(const Request& request);

}  // namespace platen

#endif  // HOST_ORIGIN_H_
