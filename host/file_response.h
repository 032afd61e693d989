// Files that go out as they are.
// SPDX-License-Identifier: MIT
#ifndef HOST_FILE_RESPONSE_H_
#define HOST_FILE_RESPONSE_H_

#include <string>

#include "http_message.h"

namespace platen {

// The response by which the web server sends the file at the absolute `path` to be kept under its
// name. The web server takes files of the spool only, and the path never reaches the browser.
Response file_response(const std::string& path);

}  // namespace platen

#endif  // HOST_FILE_RESPONSE_H_
