// Takes a Cookie header apart.
// SPDX-License-Identifier: MIT
#include "cookies.h"

#include <algorithm>

namespace platen {
namespace {

std::string_view trim(std::string_view text) {
  const size_t first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return "";
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

}  // namespace

std::vector<std::string_view> cookies_named(std::string_view header, std::string_view name) {
  std::vector<std::string_view> values;
  while (!header.empty()) {
    const size_t end = std::min(header.find(';'), header.size());
    const std::string_view pair = trim(header.substr(0, end));
    const size_t equals = pair.find('=');
    if (equals != std::string_view::npos && pair.substr(0, equals) == name) {
      values.push_back(pair.substr(equals + 1));
    }
    header.remove_prefix(std::min(end + 1, header.size()));
  }
  return values;
}

}  // namespace platen
