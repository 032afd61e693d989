// Finds the quoted strings and the statements of a script.
// SPDX-License-Identifier: MIT
#ifndef HOST_SCRIPT_STRINGS_H_
#define HOST_SCRIPT_STRINGS_H_

#include <optional>
#include <string_view>
#include <vector>

namespace platen {

// A part of a script: text[begin, end).
struct ScriptSpan {
  size_t begin;
  size_t end;
};

struct ScriptStrings {
  std::vector<ScriptSpan> strings;     // what stands between two equal quotes, in order
  std::vector<ScriptSpan> statements;  // the word that begins the script, and those behind a ";" or
                                       // a brace, in order; none within a template literal
  std::optional<size_t> unclosed;  // where a string, template, comment or expression begins that
                                   // the line or the script does not close; the reading stops there
};

// Reads a script far enough to tell its quoted strings from its comments, template literals and
// regular expressions. Whether a slash divides or begins an expression is told by what stands
// before it; after a closing parenthesis it divides, after a closing brace it does not.
ScriptStrings find_script_strings(std::string_view script);

}  // namespace platen

#endif  // HOST_SCRIPT_STRINGS_H_
