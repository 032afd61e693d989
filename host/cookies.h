// The cookies of a request.
// SPDX-License-Identifier: MIT
#ifndef HOST_COOKIES_H_
#define HOST_COOKIES_H_

#include <string_view>
#include <vector>

namespace platen {

// The values of all cookies of that name in a Cookie header, in order: a browser may send several.
std::vector<std::string_view> cookies_named(std::string_view header, std::string_view name);

}  // namespace platen

#endif  // HOST_COOKIES_H_
