// The parser functions that pages may call: what each prints and where that may stand.
// SPDX-License-Identifier: MIT
#ifndef HOST_PARSER_FUNCTIONS_H_
#define HOST_PARSER_FUNCTIONS_H_

#include <span>
#include <string_view>

namespace platen {

// The `format` of a tag: how the values that it prints are rendered.
enum class Format { none, html, js, json, php };

// The places of a page where printed values may stand; a row holds a set of them.
enum Place : unsigned {
  kHtmlText = 1,       // text between HTML tags
  kHtmlAttribute = 2,  // a double-quoted attribute value
  kScriptString = 4,   // the whole of a quoted string in a script page
  kJsonBlock = 8,      // a value in a <script type="application/json"> block
  kPhpCode = 16,       // a value or a statement between <?php and ?>
  kScriptCode = 32,    // statements of a script page
};

// Returns the places in which values rendered as `format` are safe.
constexpr unsigned places_of(Format format) {
  switch (format) {
    case Format::html:
      return kHtmlText | kHtmlAttribute;
    case Format::js:
      return kScriptString | kScriptCode;
    case Format::json:
      return kJsonBlock;
    case Format::php:
      return kPhpCode;
    case Format::none:
      break;
  }
  return 0;
}

// What one printed value is.
enum class Value {
  plain,        // an item as it is stored
  backslashed,  // an item in which the module has put a backslash before each backslash and before
                // some or all of ' " and /
  separator,    // text between two items
  counter,      // a number, handed over for "%d"; all others are texts for "%s"
};

// What one print adds to the array that the format json is.
enum class Gather {
  items,   // each of its items
  record,  // one array of its items
  member,  // its item, under a name of its own, to the object at the place of its counter
  groups,  // the clone groups that its item lists
};

// One way in which a function prints: the exact format it hands over and what its values are.
struct Print {
  std::string_view format;
  std::span<const Value> values;
  Gather gather = Gather::items;
  std::string_view member = "";  // the name
};

// How a function is called, and who may.
enum class Shape {
  output,       // prints; a tag calls it
  upkeep,       // an output function that prints nothing and changes templates; no tag calls it
  form,         // a form handler
  silent_form,  // a form handler without a result
};

// What a function does with the request's open template.
enum class TemplateUse {
  none,       // leaves it alone
  reads,      // prints from it
  opens,      // opens it
  closes,     // closes it
  opens_own,  // opens and closes templates of its own, and with them the request's
};

// One exported function of the module.
struct ParserFunction {
  const char* name;
  Shape shape;
  TemplateUse use;
  unsigned places;  // set of Place in which its output may stand
  Format
      default_format;  // for a tag that gives none; none = a function that prints must be given one
  std::span<const Print> prints;
};

// Every parser function that the host knows; the module must have them all.
std::span<const ParserFunction> parser_functions();

// The row of that name, or null.
const ParserFunction* find_parser_function(std::string_view name);

}  // namespace platen

#endif  // HOST_PARSER_FUNCTIONS_H_
