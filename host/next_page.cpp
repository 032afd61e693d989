// Addresses that a browser is sent on to.
// SPDX-License-Identifier: MIT
#include "next_page.h"

#include <algorithm>

#include "ascii.h"

namespace platen {
namespace {

constexpr std::string_view kUnreserved =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";

template <typename IsPlain>
std::string percent_encoded(std::string_view text, IsPlain is_plain) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string encoded;
  for (const char c : text) {
    if (is_plain(c)) {
      encoded += c;
    } else {
      const auto byte = static_cast<unsigned char>(c);
      encoded.append({'%', kDigits[byte >> 4], kDigits[byte & 0xF]});
    }
  }
  return encoded;
}

std::string encoded_but_for(std::string_view text, std::string_view signs) {
  return percent_encoded(text, [signs](char c) {
    return kUnreserved.find(c) != std::string_view::npos || signs.find(c) != std::string_view::npos;
  });
}

bool is_refused(char c) { return is_control(c) || c == '\\'; }

}  // namespace

bool is_local_path(std::string_view address) {
  return address.starts_with('/') && address.find("//") == std::string_view::npos &&
         std::none_of(address.begin(), address.end(), is_refused);
}

std::string encode_address(std::string_view address) { return encoded_but_for(address, "/?&="); }

std::string page_address(std::string_view path, const std::vector<Field>& query) {
  std::string address = encoded_but_for(path, "/");
  char separator = '?';
  for (const auto& [name, value] : query) {
    address += separator + encoded_but_for(name, "") + '=' + encoded_but_for(value, "");
    separator = '&';
  }
  return address;
}

std::string header_address(std::string_view address) {
  return percent_encoded(address, [](char c) { return c > ' ' && c <= '~'; });
}

}  // namespace platen
