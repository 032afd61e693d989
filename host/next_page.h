// Addresses that a browser is sent on to.
// SPDX-License-Identifier: MIT
#ifndef HOST_NEXT_PAGE_H_
#define HOST_NEXT_PAGE_H_

#include <string>
#include <string_view>
#include <vector>

#include "http_message.h"

namespace platen {

// True for an address on this server: it begins with one "/" and holds no "//", no backslash (which
// browsers take for a slash) and no control character.
bool is_local_path(std::string_view address);

// Percent-encodes every byte of an address that was put together from plain texts, but letters,
// digits and - . _ ~ / ? & =
std::string encode_address(std::string_view address);

// The address of a page: its path and query fields, percent-encoded so that decoding gives them
// back. Equal paths and fields give equal addresses.
std::string page_address(std::string_view path, const std::vector<Field>& query);

// An address that a browser has encoded, made fit for a header: what is not printable ASCII is
// percent-encoded, escapes stay as they are.
std::string header_address(std::string_view address);

}  // namespace platen

#endif  // HOST_NEXT_PAGE_H_
