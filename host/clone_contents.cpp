// Reads the contents of the clone groups, and finds the files of the device that they name.
// SPDX-License-Identifier: MIT
#include "clone_contents.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <utility>

#include "clone_secrets.h"
#include "device/table_file.h"
#include "field_rules.h"
#include "platform/xpaths.h"
#include "policy.h"

namespace platen {
namespace {

namespace fs = std::filesystem;

constexpr size_t kLongestPath = 254;
constexpr size_t kLongestKey = 255;

bool is_token(const std::string& text, int* token) {
  const char* end = text.data() + text.size();
  const auto [rest, fault] = std::from_chars(text.data(), end, *token);
  return fault == std::errc() && rest == end && *token > 0;
}

CloneRule split(const std::string& what, int token) {
  const size_t star = what.find('*');
  const bool has_star = star != std::string::npos;
  return {what.substr(0, star), has_star ? what.substr(star + 1) : "", has_star, token};
}

// What is wrong with the templates that a line names; "" when nothing is. A "*" is judged as a
// letter, at the end as a whole name.
std::string templates_fault(const CloneRule& rule) {
  const std::string star = rule.after.empty() ? "x.KTP" : "x";
  const std::string path = rule.before + (rule.has_star ? star : "") + rule.after;
  if (rule.before.find('/', 1) == std::string::npos || rule.after.find('/') != std::string::npos) {
    return "a * may stand in the name of a template only, not in its directory";
  }
  if (path.starts_with(std::string(kFactoryPool) + "/")) {
    return "templates as shipped are never cloned";
  }
  const std::string fault = value_fault({"", Kind::template_path, kLongestPath}, path);
  return fault.empty() ? "" : "the path " + fault;
}

std::string setting_fault(const CloneRule& rule) {
  if (!rule.after.empty()) return "a * may stand only at the end of a key";
  if (rule.before.size() > kLongestKey) return "a key has at most 255 bytes";
  if (!rule.has_star && is_secret_name(rule.before)) return "a secret setting is never cloned";
  return "";
}

int token_of(const std::vector<CloneRule>& rules, std::string_view text) {
  const auto rule =
      std::ranges::find_if(rules, [text](const CloneRule& row) { return row.matches(text); });
  return rule == rules.end() ? 0 : rule->token;
}

std::string directory_of(const CloneRule& rule) {
  return rule.before.substr(0, rule.before.rfind('/'));
}

}  // namespace

bool CloneRule::matches(std::string_view text) const {
  if (!has_star) return text == before;
  if (text.size() < before.size() + after.size() || !text.starts_with(before) ||
      !text.ends_with(after)) {
    return false;
  }
  text.remove_prefix(before.size());
  text.remove_suffix(after.size());
  return text.find('/') == std::string_view::npos;
}

bool CloneContents::load(const std::string& file, std::string* error) {
  std::vector<TableRow> rows;
  if (!read_table_file(file, &rows, error)) return false;
  std::vector<CloneRule> templates;
  std::vector<CloneRule> settings;
  for (const TableRow& row : rows) {
    int token = 0;
    const bool is_template = row.key.starts_with('/');
    std::string fault;
    if (!is_token(row.text, &token)) {
      fault = "\"" + row.text + "\" is no token; a token is a number above 0";
    } else if (std::ranges::count(row.key, '*') > 1) {
      fault = "there is more than one *";
    }
    CloneRule rule = split(row.key, token);
    if (fault.empty()) fault = is_template ? templates_fault(rule) : setting_fault(rule);
    if (!fault.empty()) {
      *error = table_fault(file, row.line, fault);
      return false;
    }
    (is_template ? templates : settings).push_back(std::move(rule));
  }
  templates_ = std::move(templates);
  settings_ = std::move(settings);
  return true;
}

int CloneContents::token_of_template(std::string_view path) const {
  return token_of(templates_, path);
}

int CloneContents::token_of_setting(std::string_view key) const {
  return is_secret_name(key) ? 0 : token_of(settings_, key);
}

std::set<int> CloneContents::tokens() const {
  std::set<int> all;
  for (const auto* rules : {&templates_, &settings_}) {
    for (const CloneRule& rule : *rules) all.insert(rule.token);
  }
  return all;
}

std::vector<std::string> CloneContents::directories(const std::set<int>& tokens) const {
  std::set<std::string> found;
  for (const CloneRule& rule : templates_) {
    if (tokens.contains(rule.token)) found.insert(directory_of(rule));
  }
  return {found.begin(), found.end()};
}

std::vector<std::string> CloneContents::templates(const std::set<int>& tokens) const {
  std::vector<std::string> found;
  for (const std::string& directory : directories(tokens)) {
    std::error_code fault;
    for (const fs::directory_entry& entry : fs::directory_iterator(directory, fault)) {
      const std::string path = entry.path();
      const bool is_template = value_fault({"", Kind::template_path, kLongestPath}, path).empty() &&
                               entry.symlink_status(fault).type() == fs::file_type::regular;
      if (is_template && tokens.contains(token_of_template(path))) found.push_back(path);
    }
  }
  std::ranges::sort(found);
  return found;
}

std::string clone_contents_file() {
  const char* directory = xpaths_get_path("nc_dlms_data");
  return directory == nullptr ? "" : std::string(directory) + "/clone/data/clone_contents";
}

}  // namespace platen
