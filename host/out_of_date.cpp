// Keeps an edit made on an out-of-date page from overwriting what somebody else stored meanwhile.
// SPDX-License-Identifier: MIT
#include "out_of_date.h"

#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>
#include <utility>

#include "said.h"

namespace platen {
namespace {

using Json = nlohmann::json;

constexpr std::string_view kHostFields[] = {"was", "token", "replace"};
constexpr std::string_view kRunFields[] = {"ServiceName",   "InvocationName", "AttributeName",
                                           "AttributeType", "AttributeValue", "Compulsory",
                                           "Action"};

// A run as the handler reads it: of a repeated field the last one counts, and an absent field is
// something else than an empty one.
struct Run {
  std::optional<std::string> service;
  std::optional<std::string> invocation;
  std::optional<std::string> attribute;
  std::optional<std::string> type;
  std::optional<std::string> value;
  std::optional<std::string> was;
  std::string action;
  bool compulsory = false;
};

enum class Verdict { keep, drop, conflict };

bool is_among(std::string_view name, const auto& names) {
  return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

// The handler takes the word NULL for no text.
std::string without_null(const std::string& text) { return text == "NULL" ? "" : text; }

std::optional<std::string> given(const std::string& text) {
  if (text.empty() || text == "NULL") return std::nullopt;
  return text;
}

void read_field(const FormField& field, Run* run) {
  if (field.name == "ServiceName") run->service = given(field.value);
  if (field.name == "InvocationName") run->invocation = given(field.value);
  if (field.name == "AttributeName") run->attribute = given(field.value);
  if (field.name == "AttributeType") run->type = given(field.value);
  if (field.name == "AttributeValue") run->value = without_null(field.value);
  if (field.name == "Compulsory") run->compulsory = field.value == "TRUE" || field.value == "true";
  if (field.name == "Action") run->action = field.value;
  if (field.name == "was") run->was = field.value;
}

char separator_of(std::string_view attribute) { return attribute == "PhoneNumber" ? ';' : ','; }

std::string with_line_feeds(std::string_view text) {
  std::string plain;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\r') {
      plain += text[i];
    } else if (i + 1 == text.size() || text[i + 1] != '\n') {
      plain += '\n';
    }
  }
  return plain;
}

// The JSON library replaces just as browsers do, and just as it did when the page was printed.
std::string with_valid_utf8(const std::string& text) {
  return Json::parse(Json(text).dump(-1, ' ', false, Json::error_handler_t::replace));
}

std::string as_compared(const std::string& text) { return with_line_feeds(with_valid_utf8(text)); }

std::string join(const std::vector<std::string>& values, char separator) {
  std::string joined;
  for (size_t i = 0; i < values.size(); ++i) {
    if (i != 0) joined += separator;
    joined += values[i];
  }
  return joined;
}

// A list without its empty items, which the handler does not write.
std::string without_empty_items(const std::string& list, char separator) {
  std::string items;
  for (const char c : list) {
    if (c != separator || (!items.empty() && items.back() != separator)) items += c;
  }
  if (!items.empty() && items.back() == separator) items.pop_back();
  return items;
}

// The value that is stored when the handler has written the run.
std::string written_value(const Run& run) {
  const char separator = separator_of(*run.attribute);
  const bool is_list = separator == ';' || (run.type && run.type->starts_with("enum_") &&
                                            run.value->find(separator) != std::string::npos);
  return is_list ? without_empty_items(*run.value, separator) : *run.value;
}

ShownAttribute as_compared(const ShownAttribute& attribute) {
  return {as_compared(attribute.value), as_compared(attribute.type), attribute.compulsory};
}

// Equal but for what a page cannot show; two that are absent are equal too.
bool is_same(const std::optional<ShownAttribute>& a, const std::optional<ShownAttribute>& b) {
  if (!a || !b) return !a && !b;
  return as_compared(*a) == as_compared(*b);
}

// Reads the field "was". Returns false when it is not of its form.
bool parse_was(const std::string& text, std::optional<ShownAttribute>* was) {
  if (text.empty()) return true;
  const Json json = Json::parse(text, nullptr, false);
  if (!json.is_object() || json.size() != 3) return false;
  const auto value = json.find("value");
  const auto type = json.find("type");
  const auto compulsory = json.find("compulsory");
  if (value == json.end() || !value->is_string() || type == json.end() || !type->is_string() ||
      compulsory == json.end() || !compulsory->is_boolean()) {
    return false;
  }
  *was = ShownAttribute{*value, *type, *compulsory};
  return true;
}

// A run without a type keeps the one that is there.
ShownAttribute wanted_attribute(const Run& run, const std::optional<ShownAttribute>& present) {
  const std::string kept_type = present ? present->type : "string";
  return {written_value(run), run.type.value_or(kept_type), run.compulsory};
}

bool is_judged(const Run& run) {
  return run.action == "update" && run.service && run.invocation && run.attribute && run.value;
}

std::string fault_in(size_t run, const Sentence& what) {
  return said("Change {1} of the form {2}; open the form's page again and send it from there.",
              run + 1, said(what));
}

// The line ends of `model`, by its first one, in place of those of `text`.
std::string with_line_ends_of(std::string_view model, std::string_view text) {
  const size_t first = std::min(model.find_first_of("\r\n"), model.size());
  std::string_view line_end = "\n";
  if (model.substr(first).starts_with("\r")) line_end = "\r";
  if (model.substr(first).starts_with("\r\n")) line_end = "\r\n";
  std::string written;
  for (const char c : with_line_feeds(text)) {
    if (c == '\n') {
      written += line_end;
    } else {
      written += c;
    }
  }
  return written;
}

class Reviewer {
 public:
  Reviewer(const std::vector<FormField>& posted, const AttributeReader& read)
      : posted_(posted), read_(read) {}

  EditReview review() {
    size_t begin = 0;
    for (size_t i = 0; i < posted_.size() && result_.fault.empty(); ++i) {
      if (posted_[i].name != "Action") continue;
      review_run(begin, i + 1);
      begin = i + 1;
      ++run_;
    }
    pass_on(begin, posted_.size(), Verdict::keep);
    if (!result_.conflicts.empty() || !result_.fault.empty()) result_.fields.clear();
    return std::move(result_);
  }

 private:
  void review_run(size_t begin, size_t end) {
    Run run;
    for (size_t i = begin; i < end; ++i) read_field(posted_[i], &run);
    std::optional<ShownAttribute> was;
    if (run.was && !parse_was(*run.was, &was)) {
      result_.fault = fault_in(run_, Sentence("does not say in its field \"was\" what was shown"));
    } else if (was && run.action == "update" && !run.invocation) {
      result_.fault = fault_in(run_, Sentence("does not say which invocation it is for"));
    } else {
      stored_value_.clear();
      pass_on(begin, end, is_judged(run) ? judge(run, was) : Verdict::keep, run.action == "update");
    }
  }

  Verdict judge(const Run& run, const std::optional<ShownAttribute>& was) {
    const auto found = read_(*run.service, *run.invocation, *run.attribute);
    std::optional<ShownAttribute> stored;
    if (found) stored = shown_attribute(*run.attribute, *found);
    if (stored) stored_value_ = stored->value;
    if (was && is_same(wanted_attribute(run, was), was)) return Verdict::drop;
    const ShownAttribute wanted = wanted_attribute(run, stored);
    if (stored && is_same(wanted, stored)) return Verdict::drop;
    if (is_same(stored, was)) return Verdict::keep;
    result_.conflicts.push_back(
        {run_, *run.service, *run.invocation, *run.attribute, was, stored, wanted});
    return Verdict::conflict;
  }

  // Hands on the fields from `begin` to `end`: of a run that is dropped only those that are not its
  // own.
  void pass_on(size_t begin, size_t end, Verdict verdict, bool is_update = false) {
    for (size_t i = begin; i < end; ++i) {
      FormField field = posted_[i];
      if (is_among(field.name, kHostFields)) continue;
      if (verdict == Verdict::drop && is_among(field.name, kRunFields)) continue;
      if (is_update && field.name == "AttributeValue") {
        field.value = with_line_ends_of(stored_value_, field.value);
      }
      result_.fields.push_back(std::move(field));
    }
  }

  const std::vector<FormField>& posted_;
  const AttributeReader& read_;
  EditReview result_;
  size_t run_ = 0;
  std::string stored_value_;  // of the run under review; empty where nothing is stored
};

}  // namespace

EditReview review_edits(const std::vector<FormField>& posted, const AttributeReader& read) {
  return Reviewer(posted, read).review();
}

ShownAttribute shown_attribute(std::string_view name, const StoredAttribute& stored) {
  return {join(stored.values, separator_of(name)), stored.type, stored.compulsory};
}

std::string was_field(const ShownAttribute& shown) {
  const Json json = {
      {"value", shown.value}, {"type", shown.type}, {"compulsory", shown.compulsory}};
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace platen
