// Renders data for the place in a page where it is to stand.
// SPDX-License-Identifier: MIT
//
// Every function for browsers first replaces what is not UTF-8 by U+FFFD, one per maximal wrong
// part, as they do, so that a value is the same text in every format. PHP gets the bytes as they
// are.
#ifndef HOST_OUTPUT_FORMAT_H_
#define HOST_OUTPUT_FORMAT_H_

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "parser_functions.h"

namespace platen {

using Json = nlohmann::ordered_json;

// Returns `text` with each maximal part that is not UTF-8 replaced by U+FFFD.
std::string valid_utf8(std::string_view text);

// Returns `text` for HTML text and double- or single-quoted attribute values. A carriage return
// becomes a character reference, or the HTML parser would turn it into a line feed.
std::string html_text(std::string_view text);

// Returns `text` for the inside of a quoted script string or a template literal. In a `backslashed`
// value the module's own escapes stay as they are.
std::string script_text(std::string_view text, Value kind);

// Returns the item that a printed value stands for, as a JSON string: a `backslashed` value without
// the module's escapes.
Json json_item(std::string_view text, Value kind);

// Returns the JSON text of `value`, which may stand in a script element: it holds no "<".
std::string json_text(const Json& value);

// Returns `text` as a whole PHP value: between single quotes.
std::string php_literal(std::string_view text);

// Follows PHP statements that a function prints piece by piece.
class PhpStatement {
 public:
  // Notes text of the function's own and returns it.
  std::string_view pass(std::string_view text);

  // Returns a value for the place that has been reached: inside quotes the text escaped for that
  // quote; outside only a name or a number, anything else is nothing.
  std::optional<std::string> value(std::string_view text) const;

 private:
  char quote_ = 0;  // the open quote, or none
};

// Returns a whole plain text in the given format.
// Requires: a format other than none.
std::string formatted_text(std::string_view text, Format format);

}  // namespace platen

#endif  // HOST_OUTPUT_FORMAT_H_
