// Addresses that a browser is sent on to.
// SPDX-License-Identifier: MIT
#include "next_page.h"

#include <algorithm>

#include "ascii.h"

namespace platen {
namespace {

constexpr std::string_view kPlainBytes =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~/?&=";

bool is_refused(char c) { return is_control(c) || c == '\\'; }

}  // namespace

bool is_local_path(std::string_view address) {
  return address.starts_with('/') && address.find("//") == std::string_view::npos &&
         std::none_of(address.begin(), address.end(), is_refused);
}

std::string encode_address(std::string_view address) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string encoded;
  for (const char c : address) {
    if (kPlainBytes.find(c) != std::string_view::npos) {
      encoded += c;
    } else {
      const auto byte = static_cast<unsigned char>(c);
      encoded.append({'%', kDigits[byte >> 4], kDigits[byte & 0xF]});
    }
  }
  return encoded;
}

}  // namespace platen
