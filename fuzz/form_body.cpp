// Fuzzes form decoding: the first line is the content type, the rest the body.
// SPDX-License-Identifier: MIT
#include "form_body.h"

#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace {

void require(bool law) {
  if (!law) std::abort();
}

bool has_nul(std::string_view text) { return text.find('\0') != std::string_view::npos; }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  const size_t line_end = input.find('\n');
  if (line_end == std::string_view::npos) return 0;
  const std::string_view body = input.substr(line_end + 1);
  const platen::FormLimits limits{1 << 16, 100, 32};
  std::vector<platen::FormField> fields;
  const auto refusal =
      platen::decode_form({input.substr(0, line_end), body.size(), body}, limits, &fields);
  require(fields.size() <= limits.fields);
  if (refusal) {
    require((refusal->status == 400 || refusal->status == 413 || refusal->status == 415) &&
            !refusal->text.empty());
    return 0;
  }
  size_t bytes = 0;
  for (const platen::FormField& field : fields) {
    require(field.name.size() <= limits.name_bytes && !has_nul(field.name));
    require(!has_nul(field.file_name) && (field.is_file || !has_nul(field.value)));
    bytes += field.name.size() + field.value.size() + field.file_name.size();
  }
  require(bytes <= body.size());
  return 0;
}
