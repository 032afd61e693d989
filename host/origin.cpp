// Compares origins.
// SPDX-License-Identifier: MIT
#include "origin.h"

#include <strings.h>

#include <string_view>

#include "said.h"

namespace platen {
namespace {

std::string foreign() {
  return said(
      "The form was not sent from a page of this device. Open its page here and send it from "
      "there.");
}

// Scheme and host are the same in capitals and in small letters.
bool is_same_origin(const std::string& own, std::string_view other) {
  return other.size() == own.size() && strncasecmp(own.c_str(), other.data(), own.size()) == 0;
}

// The part of an address up to its path.
std::string_view origin_of(std::string_view address) {
  const size_t scheme = address.find("://");
  if (scheme == std::string_view::npos) return "";
  return address.substr(0, address.find('/', scheme + 3));
}

}  // namespace

std::string refuse_origin(const Request& request) {
  if (request.host.empty()) {
    return said("The request does not say which host it is for. Use another browser.");
  }
  const std::string own = (request.secure ? "https://" : "http://") + request.host;
  if (request.origin.empty() && request.referer.empty()) return foreign();
  const bool is_own = (request.origin.empty() || is_same_origin(own, request.origin)) &&
                      (request.referer.empty() || is_same_origin(own, origin_of(request.referer)));
  return is_own ? "" : foreign();
}

}  // namespace platen
