// The body of a posted form, decoded into its fields.
// SPDX-License-Identifier: MIT
#include "form_body.h"

#include <strings.h>

#include <algorithm>
#include <utility>

#include "ascii.h"
#include "query.h"
#include "said.h"

namespace platen {
namespace {

using Refused = std::optional<FormRefusal>;

constexpr size_t kLongestBoundary = 70;
constexpr size_t kShownBytes = 40;
constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kBoundarySigns = "'()+_,-./:=? ";

bool is_same_word(std::string_view a, std::string_view b) {
  return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

// A text of the client for a message, cut to a readable length.
std::string shown(std::string_view text) {
  if (text.size() <= kShownBytes) return std::string(text);
  return std::string(text.substr(0, kShownBytes)) + "...";
}

FormRefusal refuse(std::string text) {
  return {400, std::move(text) + " " + said("Open the form's page again and send it from there.")};
}

// A header value: a word, and parameters behind it.
struct HeaderValue {
  std::string_view word;
  std::vector<std::pair<std::string_view, std::string_view>> parameters;

  std::optional<std::string_view> parameter(std::string_view name) const {
    for (const auto& [key, value] : parameters) {
      if (is_same_word(key, name)) return value;
    }
    return std::nullopt;
  }
};

void skip_blanks(std::string_view* text) {
  text->remove_prefix(std::min(text->find_first_not_of(" \t"), text->size()));
}

// Takes what stands before the first of `ends`, without the blanks around it.
std::string_view take_word(std::string_view* text, std::string_view ends) {
  skip_blanks(text);
  const size_t end = std::min(text->find_first_of(ends), text->size());
  std::string_view word = text->substr(0, end);
  text->remove_prefix(end);
  word.remove_suffix(word.size() - (word.find_last_not_of(" \t") + 1));
  return word;
}

// Takes a text in quotation marks, of which the first stands at the front.
bool take_quoted(std::string_view* text, std::string_view* value) {
  const size_t end = text->find('"', 1);
  if (end == std::string_view::npos) return false;
  *value = text->substr(1, end - 1);
  text->remove_prefix(end + 1);
  skip_blanks(text);
  return text->empty() || text->front() == ';';
}

bool parse_header_value(std::string_view text, HeaderValue* header) {
  header->word = take_word(&text, ";");
  while (!text.empty()) {
    text.remove_prefix(1);
    const std::string_view name = take_word(&text, "=;");
    if (name.empty() && text.empty()) return true;
    if (text.empty() || text.front() != '=') return false;
    text.remove_prefix(1);
    skip_blanks(&text);
    std::string_view value;
    if (!text.empty() && text.front() == '"') {
      if (!take_quoted(&text, &value)) return false;
    } else {
      value = take_word(&text, ";");
    }
    header->parameters.emplace_back(name, value);
  }
  return true;
}

bool is_boundary(std::string_view text) {
  return !text.empty() && text.size() <= kLongestBoundary && text.back() != ' ' &&
         std::all_of(text.begin(), text.end(), [](char c) {
           return is_letter_or_digit(c) || kBoundarySigns.find(c) != std::string_view::npos;
         });
}

// The name of a field or file as browsers write it between quotation marks.
std::string decode_name(std::string_view quoted) {
  constexpr std::pair<std::string_view, char> kEscapes[] = {
      {"%22", '"'}, {"%0D", '\r'}, {"%0A", '\n'}};
  std::string name;
  while (!quoted.empty()) {
    const auto* escape =
        std::find_if(std::begin(kEscapes), std::end(kEscapes),
                     [quoted](const auto& row) { return quoted.starts_with(row.first); });
    const bool is_escape = escape != std::end(kEscapes);
    name += is_escape ? escape->second : quoted.front();
    quoted.remove_prefix(is_escape ? escape->first.size() : 1);
  }
  return name;
}

// The value of a part's Content-Disposition line among its header lines.
std::string_view disposition_of(std::string_view lines) {
  while (!lines.empty()) {
    const size_t end = std::min(lines.find(kLineEnd), lines.size());
    const std::string_view line = lines.substr(0, end);
    const size_t colon = line.find(':');
    if (colon != std::string_view::npos &&
        is_same_word(line.substr(0, colon), "Content-Disposition")) {
      return line.substr(colon + 1);
    }
    lines.remove_prefix(std::min(end + kLineEnd.size(), lines.size()));
  }
  return "";
}

bool has_nul(std::string_view text) { return text.find('\0') != std::string_view::npos; }

// Decodes the part of that number.
Refused decode_part(std::string_view part, size_t number, FormField* field) {
  const size_t header_end = part.find("\r\n\r\n");
  if (header_end == std::string_view::npos)
    return refuse(said("Part {1} of the form has no end of its header.", number));
  HeaderValue header;
  if (!parse_header_value(disposition_of(part.substr(0, header_end)), &header) ||
      !is_same_word(header.word, "form-data") || !header.parameter("name")) {
    return refuse(
        said("Part {1} of the form does not say which field it is "
             "(Content-Disposition: form-data; name=...).",
             number));
  }
  field->name = decode_name(*header.parameter("name"));
  field->is_file = header.parameter("filename").has_value();
  field->file_name = decode_name(header.parameter("filename").value_or(""));
  field->value = part.substr(header_end + 4);
  if (has_nul(field->name))
    return refuse(said("The name of part {1} of the form holds a NUL byte.", number));
  if (has_nul(field->file_name) || (!field->is_file && has_nul(field->value))) {
    return refuse(said("The field \"{1}\" {2}.", shown(field->name), said("holds a NUL byte")));
  }
  return std::nullopt;
}

Refused too_many_fields(const FormLimits& limits) {
  return FormRefusal{
      413, said("The form has more than {1} fields. Make fewer changes at once.", limits.fields)};
}

// Cuts the body at its boundary lines and decodes the parts between them.
Refused decode_parts(std::string_view body, const std::string& boundary, const FormLimits& limits,
                     std::vector<FormField>* fields) {
  const std::string line = std::string(kLineEnd) + "--" + boundary;
  const std::string_view first = std::string_view(line).substr(kLineEnd.size());
  const size_t found = body.starts_with(first) ? 0 : body.find(line);
  if (found == std::string_view::npos) return refuse(said("The form does not hold its boundary."));
  body.remove_prefix(found == 0 ? first.size() : found + line.size());
  while (!body.starts_with("--")) {
    if (fields->size() == limits.fields) return too_many_fields(limits);
    const size_t number = fields->size() + 1;
    skip_blanks(&body);
    const size_t end = body.find(line, std::min(kLineEnd.size(), body.size()));
    if (!body.starts_with(kLineEnd) || end == std::string_view::npos) {
      return refuse(said("The form breaks off in part {1} of the form.", number));
    }
    FormField field;
    Refused refused =
        decode_part(body.substr(kLineEnd.size(), end - kLineEnd.size()), number, &field);
    if (refused) return refused;
    fields->push_back(std::move(field));
    body.remove_prefix(end + line.size());
  }
  return std::nullopt;
}

Refused decode_multipart(const HeaderValue& type, std::string_view body, const FormLimits& limits,
                         std::vector<FormField>* fields) {
  const std::string_view boundary = type.parameter("boundary").value_or("");
  if (!is_boundary(boundary)) {
    return refuse(
        said("The form's boundary must have 1 to 70 letters, digits and simple signs, and not "
             "\"{1}\".",
             shown(boundary)));
  }
  return decode_parts(body, std::string(boundary), limits, fields);
}

Refused decode_url_encoded(std::string_view body, const FormLimits& limits,
                           std::vector<FormField>* fields) {
  std::vector<Field> decoded;
  std::string error;
  const bool is_whole = decode_query(body, &decoded, &error);
  for (auto& [name, value] : decoded) {
    if (fields->size() == limits.fields) return too_many_fields(limits);
    fields->push_back({std::move(name), std::move(value), "", false});
  }
  if (!is_whole) return refuse(std::move(error));
  return std::nullopt;
}

Refused check_length(const FormPost& post, const FormLimits& limits) {
  if (std::max(post.content_length, post.body.size()) > limits.bytes) {
    return FormRefusal{413,
                       said("The form is larger than {1} bytes. Send less at once.", limits.bytes)};
  }
  if (post.body.size() < post.content_length) {
    return FormRefusal{400, said("The form was cut short: {1} of {2} bytes arrived. Send it again.",
                                 post.body.size(), post.content_length)};
  }
  return std::nullopt;
}

Refused check_names(const std::vector<FormField>& fields, const FormLimits& limits) {
  const auto overlong = std::find_if(fields.begin(), fields.end(), [&](const FormField& field) {
    return field.name.size() > limits.name_bytes;
  });
  if (overlong == fields.end()) return std::nullopt;
  return refuse(said("The name of field {1}, \"{2}\", is longer than {3} bytes.",
                     overlong - fields.begin() + 1, shown(overlong->name), limits.name_bytes));
}

}  // namespace

std::optional<FormRefusal> decode_form(const FormPost& post, const FormLimits& limits,
                                       std::vector<FormField>* fields) {
  fields->clear();
  Refused refused = check_length(post, limits);
  if (refused || post.body.empty()) return refused;
  HeaderValue type;
  const bool is_type = parse_header_value(post.content_type, &type);
  if (is_type && is_same_word(type.word, "multipart/form-data")) {
    refused = decode_multipart(type, post.body, limits, fields);
  } else if (is_type && is_same_word(type.word, "application/x-www-form-urlencoded")) {
    refused = decode_url_encoded(post.body, limits, fields);
  } else {
    return FormRefusal{415, said("A form is sent as application/x-www-form-urlencoded or "
                                 "multipart/form-data, not as \"{1}\".",
                                 shown(post.content_type))};
  }
  return refused ? refused : check_names(*fields, limits);
}

}  // namespace platen
