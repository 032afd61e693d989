// Responses as FastCGI carries them.
// SPDX-License-Identifier: MIT
#ifndef HOST_FASTCGI_RESPONSE_H_
#define HOST_FASTCGI_RESPONSE_H_

#include <string>

#include "http_message.h"

namespace platen {

enum class Body { sent, omitted };

// The response as the front reads it: status, headers with those that protect a page, and the body
// unless it is omitted, as for HEAD; Content-Length tells its length in either case.
std::string cgi_text(const Response& response, Body body = Body::sent);

// A whole FastCGI answer of `text`, from the first record to the end of the request, for request 0:
// set_request_id() puts in the real one. `text` must be shorter than 64 KiB.
std::string fastcgi_answer(const std::string& text);

// Puts the id of a request into every record of an answer. Safe in a signal handler.
void set_request_id(std::string* answer, int id);

}  // namespace platen

#endif  // HOST_FASTCGI_RESPONSE_H_
