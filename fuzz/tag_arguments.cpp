// Fuzzes the way of values into pages: whatever a function prints stays data in every format.
// SPDX-License-Identifier: MIT
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "output_format.h"
#include "script_strings.h"

namespace {

using platen::Json;
using platen::Value;

void require(bool condition) {
  if (!condition) std::abort();
}

std::string with_backslashes(std::string_view text) {
  std::string out;
  for (const char c : text) {
    if (c == '\\' || c == '\'' || c == '"') out += '\\';
    out += c;
  }
  return out;
}

// In either kind of quotes, the whole text is one string of one line.
void check_script(const std::string& text) {
  for (const char quote : {'"', '\''}) {
    const platen::ScriptStrings strings =
        platen::find_script_strings(std::string(1, quote) + text + quote + ";");
    require(!strings.unclosed && strings.strings.size() == 1);
    require(strings.strings[0].begin == 1 && strings.strings[0].end == text.size() + 1);
  }
  require(text.find_first_of("<>\r\n") == std::string::npos);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view value(reinterpret_cast<const char*>(data), size);
  const std::string valid = platen::valid_utf8(value);
  require(platen::valid_utf8(valid) == valid);
  require(platen::html_text(value).find_first_of("<>\"'\r") == std::string::npos);
  check_script(platen::script_text(value, Value::plain));
  check_script(platen::script_text(value, Value::backslashed));
  check_script(platen::script_text(with_backslashes(value), Value::backslashed));
  require(platen::json_item(with_backslashes(value), Value::backslashed) == Json(valid));
  const std::string json = platen::json_text(platen::json_item(value, Value::plain));
  require(json.find('<') == std::string::npos && Json::parse(json) == Json(valid));
  return 0;
}
