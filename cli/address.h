// Addresses: how a place in a template, and an edit of it, are written on the command line.
// SPDX-License-Identifier: MIT
#ifndef CLI_ADDRESS_H_
#define CLI_ADDRESS_H_

#include <optional>
#include <string>
#include <string_view>

namespace ktp {

// SERVICE[:INVOCATION][.ATTRIBUTE]. A backslash takes the meaning from the character behind it.
struct Address {
  std::string service;
  std::optional<std::string> invocation;  // none: the first one
  std::string attribute;                  // empty: none

  // What the store's functions take: null for the first invocation.
  [[nodiscard]] const char* invocation_name() const {
    return invocation ? invocation->c_str() : nullptr;
  }
};

// Reads an address. Throws Failure (wrong use).
Address read_address(std::string_view text);

// The same for an address that has to name an attribute.
Address read_attribute_address(std::string_view text);

struct Edit {
  Address address;
  std::string value;
};

// Reads ADDRESS=VALUE. Throws Failure (wrong use).
Edit read_edit(std::string_view text);

// Writes an address, with its backslashes.
std::string address_text(std::string_view service, std::string_view invocation,
                         std::string_view attribute);

}  // namespace ktp

#endif  // CLI_ADDRESS_H_
