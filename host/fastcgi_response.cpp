// The text and the records of a response.
// SPDX-License-Identifier: MIT
#include "fastcgi_response.h"

#include <fastcgi.h>

#include "error_page.h"

namespace platen {
namespace {

// Pages carry no script of their own, and nothing from elsewhere. Browsers must tell the origin of a
// form to this server itself, which a stricter referrer policy would keep from it.
constexpr const char* kPageHeaders =
    "Content-Security-Policy: default-src 'none'; script-src 'self'; style-src 'self'; "
    "img-src 'self'; connect-src 'self'; form-action 'self'; base-uri 'none'; "
    "frame-ancestors 'none'\r\n"
    "X-Content-Type-Options: nosniff\r\n"
    "Referrer-Policy: same-origin\r\n"
    "Cache-Control: no-store\r\n";

std::string record(unsigned char type, const std::string& content) {
  std::string bytes(FCGI_HEADER_LEN, '\0');
  bytes[0] = FCGI_VERSION_1;
  bytes[1] = static_cast<char>(type);
  bytes[4] = static_cast<char>(content.size() >> 8);
  bytes[5] = static_cast<char>(content.size() & 0xff);
  return bytes + content;
}

size_t record_length(const std::string& answer, size_t start) {
  const auto byte = [&](size_t i) {
    return static_cast<size_t>(static_cast<unsigned char>(answer[start + i]));
  };
  return FCGI_HEADER_LEN + byte(4) * 256 + byte(5);
}

}  // namespace

std::string cgi_text(const Response& response, Body body) {
  std::string text =
      "Status: " + std::to_string(response.status) + " " +
      std::string(status_name(response.status)) + "\r\nContent-Type: " + response.content_type +
      "\r\nContent-Length: " + std::to_string(response.body.size()) + "\r\n" + kPageHeaders;
  for (const auto& [name, value] : response.headers) {
    text.append(name).append(": ").append(value).append("\r\n");
  }
  return text + "\r\n" + (body == Body::sent ? response.body : "");
}

std::string fastcgi_answer(const std::string& text) {
  const std::string end(sizeof(FCGI_EndRequestBody), '\0');
  return record(FCGI_STDOUT, text) + record(FCGI_STDOUT, "") + record(FCGI_END_REQUEST, end);
}

void set_request_id(std::string* answer, int id) {
  for (size_t start = 0; start < answer->size(); start += record_length(*answer, start)) {
    (*answer)[start + 2] = static_cast<char>(id >> 8);
    (*answer)[start + 3] = static_cast<char>(id & 0xff);
  }
}

}  // namespace platen
