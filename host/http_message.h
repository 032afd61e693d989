// A request as the front hands it over and the response to it.
// SPDX-License-Identifier: MIT
#ifndef HOST_HTTP_MESSAGE_H_
#define HOST_HTTP_MESSAGE_H_

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace platen {

// A named value in its order of arrival: a query field or a header.
using Field = std::pair<std::string, std::string>;

// The value of the first of the fields that has that name, or "".
inline std::string query_value(const std::vector<Field>& query, std::string_view name) {
  const auto found = std::ranges::find(query, name, &Field::first);
  return found == query.end() ? "" : found->second;
}

// The longest file that is uploaded, which is the longest template.
inline constexpr size_t kLongestFile = size_t{4} * 1024 * 1024;

// The longest body that is read, such a file with the fields around it; of a longer one only this
// much and one byte.
inline constexpr size_t kLongestBody = kLongestFile + size_t{64} * 1024;

// Headers stand as they were sent, empty when they were not.
struct Request {
  std::string method;        // "GET", "HEAD", "POST"
  std::string path;          // decoded, begins with "/"
  std::vector<Field> query;  // decoded, in order, repeated names kept
  std::string fault;         // why the two cannot be read to their ends; empty when they can
  std::string language;      // Accept-Language
  std::string cookie;
  std::string host;
  std::string origin;
  std::string referer;
  std::string address;    // the client's
  bool secure = false;    // it came over TLS
  bool monitors = false;  // it came to the address of the metrics
  std::string content_type;
  size_t content_length = 0;  // as announced
  std::string body;
};

struct Response {
  int status = 200;
  std::string content_type = "text/html; charset=utf-8";
  std::vector<Field> headers;  // beyond Content-Type and Content-Length
  std::string body;
};

}  // namespace platen

#endif  // HOST_HTTP_MESSAGE_H_
