// Tells secrets by their names and takes their lines out of templates.
// SPDX-License-Identifier: MIT
#include "clone_secrets.h"

#include <algorithm>
#include <map>
#include <set>
#include <tuple>
#include <utility>

#include "ascii.h"
#include "stored_template.h"

namespace platen {
namespace {

constexpr std::string_view kSecretWords[] = {"password",   "passwd",     "passcode",
                                             "passphrase", "passwort",   "kennwort",
                                             "secret",     "credential", "credentials"};
// Words that also end others: they count alone, behind a "_" or with a capital.
constexpr std::string_view kShortWords[] = {"pin", "sid", "pwd"};

constexpr std::string_view kMasking = "MetaDataMaskingRequired";
constexpr std::string_view kFieldName = "MetaDataFieldName";
constexpr std::string_view kFieldValues[] = {"MetaDataValue", "MetaDataDefaultValue"};

// A place in a template: service, invocation and attribute.
using Place = std::tuple<std::string, std::string, std::string>;

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

std::string lowered(std::string_view text) {
  std::string result(text);
  std::ranges::transform(result, result.begin(), lower);
  return result;
}

bool is_short_word(std::string_view name, std::string_view word) {
  const std::string_view end = name.substr(name.size() - std::min(name.size(), word.size()));
  if (lowered(end) != word) return false;
  const char before = name.size() == end.size() ? '_' : name[name.size() - end.size() - 1];
  return !is_letter_or_digit(before) || (lower(end[0]) != end[0] && lower(before) == before);
}

bool ends_in_short_word(std::string_view name) {
  return std::ranges::any_of(kShortWords,
                             [&](std::string_view word) { return is_short_word(name, word); });
}

// The fields of metadata whose values are secret, by service and invocation.
std::set<std::pair<std::string_view, std::string_view>> secret_fields(
    const std::vector<TemplateAttribute>& attributes) {
  std::set<std::pair<std::string_view, std::string_view>> found;
  for (const TemplateAttribute& row : attributes) {
    const bool is_secret = std::ranges::any_of(row.held.values, [&](const std::string& value) {
      return (row.attribute == kMasking && value.starts_with("MASK")) ||
             (row.attribute == kFieldName && is_secret_name(value));
    });
    if (is_secret) found.emplace(row.service, row.invocation);
  }
  return found;
}

bool has_value(const TemplateAttribute& row) {
  return std::ranges::any_of(row.held.values, [](const auto& value) { return !value.empty(); });
}

Place place_of(const TemplateAttribute& row) {
  return {row.service, row.invocation, row.attribute};
}

// The lines at which the values of each attribute stand.
using AttributeLines = std::map<Place, std::set<int>>;

int note_line(void* context, const char* service, const char* invocation, const char* attribute,
              const char* /*type*/, bool_t /*compulsory*/, int line, const char* /*value*/) {
  (*static_cast<AttributeLines*>(context))[{service, invocation, attribute}].insert(line);
  return 0;
}

AttributeLines attribute_lines(const ParserModule& module, const std::string& path) {
  AttributeLines lines;
  StoredTemplate(module).walk(path, note_line, &lines);
  return lines;
}

std::vector<std::string> split_lines(std::string_view text) {
  std::vector<std::string> lines;
  while (!text.empty()) {
    const size_t end = std::min(text.find('\n'), text.size() - 1) + 1;
    lines.emplace_back(text.substr(0, end));
    text.remove_prefix(end);
  }
  return lines;
}

// Whether a line is a comment that was a secret attribute once.
bool is_secret_comment(std::string_view line) {
  line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
  if (!line.starts_with('#')) return false;
  line.remove_prefix(std::min(line.find_first_not_of("# \t"), line.size()));
  const size_t end = line.find_first_of(" \t(=:");
  return end != std::string_view::npos && is_secret_name(line.substr(0, end));
}

std::string without_lines(std::string_view text, const std::set<int>& lines) {
  std::string kept;
  int number = 0;
  for (const std::string& line : split_lines(text)) {
    if (!lines.contains(++number) && !is_secret_comment(line)) kept += line;
  }
  return kept;
}

// The lines of an attribute as they stand in its file, the last one ended; "" when the first is not
// that of its name.
std::string attribute_text(const std::vector<std::string>& file, const std::set<int>& numbers) {
  std::string text;
  for (const int number : numbers) {
    std::string line = file.at(static_cast<size_t>(number) - 1);
    if (text.empty() && line.find_first_not_of(" \t") == line.find('=')) return "";
    if (!line.ends_with('\n')) line += '\n';
    text += line;
  }
  return text;
}

// The last line of each invocation's attributes, by service and invocation.
using LastLines = std::map<std::pair<std::string, std::string>, int>;

LastLines last_lines(const AttributeLines& lines) {
  LastLines last;
  for (const auto& [place, numbers] : lines) {
    int& line = last[{std::get<0>(place), std::get<1>(place)}];
    line = std::max(line, *numbers.rbegin());
  }
  return last;
}

}  // namespace

bool is_secret_name(std::string_view name) {
  name.remove_prefix(name.rfind('.') + 1);
  const std::string plain = lowered(name);
  return ends_in_short_word(name) || std::ranges::any_of(kSecretWords, [&](std::string_view word) {
           return plain.ends_with(word);
         });
}

std::vector<TemplateAttribute> secret_attributes(const std::vector<TemplateAttribute>& attributes) {
  const auto fields = secret_fields(attributes);
  std::vector<TemplateAttribute> found;
  for (const TemplateAttribute& row : attributes) {
    const bool is_field_value =
        std::ranges::find(kFieldValues, row.attribute) != std::end(kFieldValues) &&
        fields.contains({row.service, row.invocation});
    if (has_value(row) && (is_field_value || is_secret_name(row.attribute))) found.push_back(row);
  }
  return found;
}

WithheldText withhold_secrets(const ParserModule& module, const std::string& path,
                              std::string_view text) {
  WithheldText result;
  const auto attributes = read_attributes(module, path, &result.fault);
  if (!result.fault.empty()) return result;
  const std::vector<TemplateAttribute> secrets = secret_attributes(attributes);
  const AttributeLines lines = attribute_lines(module, path);
  std::set<int> secret_lines;
  std::set<std::string_view> named;
  for (const TemplateAttribute& row : secrets) {
    const std::set<int>& numbers = lines.at(place_of(row));
    secret_lines.insert(numbers.begin(), numbers.end());
    if (named.insert(row.attribute).second) result.names.push_back(row.attribute);
  }
  result.text = without_lines(text, secret_lines);
  return result;
}

std::string with_secrets_of(const ParserModule& module, const TemplateText& present,
                            const TemplateText& next) {
  std::string fault;
  const auto held = read_attributes(module, present.path, &fault);
  const AttributeLines old_lines = attribute_lines(module, present.path);
  const AttributeLines new_lines = attribute_lines(module, next.path);
  const LastLines ends = last_lines(new_lines);
  const std::vector<std::string> old_text = split_lines(present.text);
  std::vector<std::string> lines = split_lines(next.text);
  for (const TemplateAttribute& row : secret_attributes(held)) {
    const auto last = ends.find({row.service, row.invocation});
    if (last == ends.end() || new_lines.contains(place_of(row))) continue;
    std::string& line = lines.at(static_cast<size_t>(last->second) - 1);
    const std::string added = attribute_text(old_text, old_lines.at(place_of(row)));
    if (!added.empty() && !line.ends_with('\n')) line += '\n';
    line += added;
  }
  std::string text;
  for (const std::string& line : lines) text += line;
  return text;
}

}  // namespace platen
