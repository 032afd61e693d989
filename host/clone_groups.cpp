// A reader of the list of clone groups.
// SPDX-License-Identifier: MIT
#include "clone_groups.h"

#include <charconv>
#include <optional>
#include <string>

namespace platen {
namespace {

std::optional<int> whole_number(std::string_view text) {
  int number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

// The names before each "?".
Json sub_groups(std::string_view field) {
  Json names = Json::array();
  for (size_t end = field.find('?'); end != std::string_view::npos; end = field.find('?')) {
    names.push_back(field.substr(0, end));
    field.remove_prefix(end + 1);
  }
  return names;
}

// Takes a text apart at its commas.
class Fields {
 public:
  explicit Fields(std::string_view text) : rest_(text) {}

  bool at_end() const { return !rest_; }
  std::string_view peek() const { return rest_->substr(0, rest_->find(',')); }
  std::string_view take() {
    const std::string_view field = peek();
    if (field.size() == rest_->size()) {
      rest_.reset();
    } else {
      rest_->remove_prefix(field.size() + 1);
    }
    return field;
  }

 private:
  std::optional<std::string_view> rest_;  // "" is a last field that is empty
};

}  // namespace

// The field of sub-groups is there, though empty, once a group before has had one.
Json clone_groups(std::string_view text) {
  Json groups = Json::array();
  bool seen_sub_groups = false;
  for (Fields fields(text); !fields.at_end();) {
    const std::optional<int> token = whole_number(fields.take());
    if (!token || fields.at_end()) break;
    Json group = {{"token", *token}, {"name", fields.take()}, {"subs", Json::array()}};
    const std::string_view next = fields.at_end() ? "-" : fields.peek();
    if (next.ends_with('?') || (next.empty() && seen_sub_groups)) {
      group["subs"] = sub_groups(fields.take());
      seen_sub_groups = true;
    }
    groups.push_back(std::move(group));
  }
  return groups;
}

}  // namespace platen
