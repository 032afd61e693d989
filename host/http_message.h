// A request as the front hands it over and the response to it.
// SPDX-License-Identifier: MIT
#ifndef HOST_HTTP_MESSAGE_H_
#define HOST_HTTP_MESSAGE_H_

#include <string>
#include <utility>
#include <vector>

namespace platen {

// A named value in its order of arrival: a query field or a header.
using Field = std::pair<std::string, std::string>;

struct Request {
  std::string method;        // "GET", "HEAD", "POST"
  std::string path;          // decoded, begins with "/"
  std::vector<Field> query;  // decoded, in order, repeated names kept
  std::string language;      // Accept-Language as sent
};

struct Response {
  int status = 200;
  std::string content_type = "text/html; charset=utf-8";
  std::vector<Field> headers;  // beyond Content-Type and Content-Length
  std::string body;
};

}  // namespace platen

#endif  // HOST_HTTP_MESSAGE_H_
