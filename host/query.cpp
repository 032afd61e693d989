// Percent-decoding.
// SPDX-License-Identifier: MIT
#include "query.h"

#include "said.h"

namespace platen {
namespace {

enum class Plus { literal, blank };

int hex_digit(char c) {
  if (c >= '0' && c <= '9') {
    return c - '0';
  }
  const char lower = static_cast<char>(c | 0x20);
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

// Returns what the text does wrong, such as "holds a NUL byte"; empty when nothing is.
std::string decode(std::string_view encoded, Plus plus, std::string* decoded) {
  decoded->clear();
  for (size_t i = 0; i < encoded.size(); ++i) {
    char c = encoded[i];
    if (c == '%') {
      const int high = i + 2 < encoded.size() ? hex_digit(encoded[i + 1]) : -1;
      const int low = i + 2 < encoded.size() ? hex_digit(encoded[i + 2]) : -1;
      if (high < 0 || low < 0) {
        return said("holds the broken escape \"{1}\"", encoded.substr(i, 3));
      }
      c = static_cast<char>(high * 16 + low);
      i += 2;
    } else if (c == '+' && plus == Plus::blank) {
      c = ' ';
    }
    if (c == '\0') {
      return said("holds a NUL byte");
    }
    *decoded += c;
  }
  return "";
}

bool decode_field(std::string_view piece, Field* field, std::string* error) {
  const auto equals = piece.find('=');
  const auto name = piece.substr(0, equals);
  const auto value = equals == std::string_view::npos ? "" : piece.substr(equals + 1);
  std::string fault = decode(name, Plus::blank, &field->first);
  if (!fault.empty()) {
    *error = said("The name of a field, \"{1}\", {2}.", name, fault);
    return false;
  }
  fault = decode(value, Plus::blank, &field->second);
  if (!fault.empty()) {
    *error = said("The field \"{1}\" {2}.", field->first, fault);
    return false;
  }
  return true;
}

}  // namespace

bool decode_path(std::string_view encoded, std::string* path, std::string* error) {
  const std::string fault = decode(encoded, Plus::literal, path);
  if (!fault.empty()) {
    *error = said("The path {1}.", fault);
    return false;
  }
  if (!path->starts_with('/')) {
    *error = said("The path does not begin with \"/\".");
    return false;
  }
  return true;
}

bool decode_query(std::string_view encoded, std::vector<Field>* fields, std::string* error) {
  while (!encoded.empty()) {
    const auto end = encoded.find('&');
    const auto piece = encoded.substr(0, end);
    Field field;
    if (!piece.empty() && !decode_field(piece, &field, error)) {
      return false;
    }
    if (!piece.empty()) {
      fields->push_back(std::move(field));
    }
    encoded = end == std::string_view::npos ? "" : encoded.substr(end + 1);
  }
  return true;
}

bool decode_target(std::string_view target, std::string* path, std::vector<Field>* query,
                   std::string* error) {
  const size_t question = target.find('?');
  const std::string_view encoded =
      question == std::string_view::npos ? "" : target.substr(question + 1);
  return decode_path(target.substr(0, question), path, error) &&
         decode_query(encoded, query, error);
}

}  // namespace platen
