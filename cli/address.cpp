// One walk over the text finds its separators; those behind a backslash are characters.
// SPDX-License-Identifier: MIT
#include "address.h"

#include <utility>

#include "outcome.h"

namespace ktp {
namespace {

constexpr std::string_view kSpecial = ":.=\\";

[[noreturn]] void refuse(std::string_view text, const char* fault) {
  throw Failure(kWrongUse, "ktp: " + std::string(text) + ": " + fault +
                               "; an address is SERVICE[:INVOCATION][.ATTRIBUTE]");
}

// Takes what stands before the first of `ends` from the front of the text, and that end as well.
// Returns the end, or NUL when there was none.
char take(std::string_view* text, std::string_view ends, std::string* part) {
  while (!text->empty()) {
    char byte = text->front();
    text->remove_prefix(1);
    if (ends.find(byte) != std::string_view::npos) return byte;
    if (byte == '\\' && !text->empty()) {
      byte = text->front();
      text->remove_prefix(1);
    }
    *part += byte;
  }
  return '\0';
}

// Takes an address from the front of the text, up to one of `ends`, which it returns.
char take_address(std::string_view* text, const std::string& ends, Address* address) {
  char end = take(text, ":." + ends, &address->service);
  if (end == ':') end = take(text, "." + ends, &address->invocation.emplace());
  if (end == '.') end = take(text, ends, &address->attribute);
  return end;
}

std::string escaped(std::string_view name) {
  std::string text;
  for (char byte : name) {
    if (kSpecial.find(byte) != std::string_view::npos) text += '\\';
    text += byte;
  }
  return text;
}

}  // namespace

Address read_address(std::string_view text) {
  Address address;
  std::string_view rest = text;
  take_address(&rest, "", &address);
  bool ends_openly = text.ends_with(".") && address.attribute.empty();
  if (address.service.empty()) refuse(text, "the service is missing");
  if (ends_openly) refuse(text, "the attribute is missing");
  return address;
}

Address read_attribute_address(std::string_view text) {
  Address address = read_address(text);
  if (address.attribute.empty()) refuse(text, "the attribute is missing");
  return address;
}

Edit read_edit(std::string_view text) {
  Edit edit;
  std::string_view rest = text;
  char end = take_address(&rest, "=", &edit.address);
  if (edit.address.service.empty() || edit.address.attribute.empty()) {
    refuse(text, "service or attribute is missing");
  }
  if (end != '=') refuse(text, "there is no \"=\" and value behind the address");
  edit.value = rest;
  return edit;
}

std::string address_text(std::string_view service, std::string_view invocation,
                         std::string_view attribute) {
  std::string text = escaped(service) + ":" + escaped(invocation);
  return attribute.empty() ? text : text + "." + escaped(attribute);
}

}  // namespace ktp
