// The body of a posted form, decoded into its fields.
// SPDX-License-Identifier: MIT
#ifndef HOST_FORM_BODY_H_
#define HOST_FORM_BODY_H_

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "http_message.h"

namespace platen {

// One posted field.
struct FormField {
  std::string name;
  std::string value;      // the bytes of an uploaded file, or a text without NUL
  std::string file_name;  // as the browser gave it; empty also when no file was chosen
  bool is_file = false;
};

// What a form may have; more is refused.
struct FormLimits {
  size_t bytes = kLongestBody;
  size_t fields = 2000;
  size_t name_bytes = 255;
};

// A post as it arrived.
struct FormPost {
  std::string_view content_type;  // the header's value
  size_t content_length = 0;      // as announced
  std::string_view body;          // as many bytes as came
};

// Why a form is not taken: an HTTP status (400, 413 or 415) and a sentence or two for the user that
// name the field or its position, and say what to do.
struct FormRefusal {
  int status;
  std::string text;
};

// Decodes a form of type application/x-www-form-urlencoded or multipart/form-data into `fields`, in
// posted order, repeated names kept. A body of no bytes has no fields, whatever its type.
//
// Returns nothing when the whole form was decoded. Else returns the refusal and leaves `fields`
// with those decoded before it: a body cut short or over a limit, a broken escape, a NUL byte in a
// name, a file name or a value that is no file, a boundary that is missing or not allowed, a part
// without a name or without an end.
//
// In a multipart form the names stand as browsers write them: a quoted text goes to the next
// quotation mark, a backslash is a backslash, and %22, %0D and %0A are the three characters that
// cannot stand there. What comes before the first boundary and after the last is skipped; the types
// of single parts are not looked at.
std::optional<FormRefusal> decode_form(const FormPost& post, const FormLimits& limits,
                                       std::vector<FormField>* fields);

}  // namespace platen

#endif  // HOST_FORM_BODY_H_
