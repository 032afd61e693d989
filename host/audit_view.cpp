// The audit trail filtered and written out.
// SPDX-License-Identifier: MIT
#include "audit_view.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <limits>
#include <utility>

#include "ascii.h"
#include "device/configuration.h"
#include "moment.h"

namespace platen {
namespace {

constexpr int kEverything = std::numeric_limits<int>::max();
constexpr int kPageSize = 100;
constexpr int kKeptChanges = 10'000;  // by the device
constexpr std::string_view kSettingAction = "setting";
constexpr std::string_view kPoolReload = "services[templatePool].localUpdating";

constexpr std::string_view kColumns[] = {"time (UTC)", "login",  "address",
                                         "action",     "object", "outcome"};

std::string value(const std::vector<Field>& fields, std::string_view name) {
  const auto found = std::ranges::find(fields, name, &Field::first);
  return found == fields.end() ? "" : found->second;
}

// What the device does by itself at every save and at every folder that is opened tells nobody what
// people have changed.
bool is_of_people(const ConfigurationChange& change) {
  return change.key != kPoolReload && !change.key.ends_with(".sid");
}

AuditEntry entry_of(const ConfigurationChange& change) {
  AuditEntry entry;
  entry.login = change.author;
  entry.action = kSettingAction;
  entry.object = is_secret_setting(change.key) ? change.key : change.key + " = " + change.value;
  entry.outcome = kDone;
  const auto moment = parse_moment(change.time);
  entry.time = moment ? moment->begin : 0;
  return entry;
}

std::vector<AuditEntry> setting_changes(const AuditFilter& filter) {
  std::vector<AuditEntry> entries;
  if (!filter.action.empty() && filter.action != kSettingAction) return entries;
  for (const ConfigurationChange& change : configuration_history(kKeptChanges)) {
    if (!is_of_people(change)) continue;
    AuditEntry entry = entry_of(change);
    if (matches(filter, entry)) entries.push_back(std::move(entry));
  }
  return entries;
}

// Both are newest first; of equal times the first one's come first.
std::vector<AuditEntry> merged(std::vector<AuditEntry> first, std::vector<AuditEntry> second) {
  std::vector<AuditEntry> all;
  auto next = second.begin();
  for (AuditEntry& entry : first) {
    while (next != second.end() && next->time > entry.time) all.push_back(std::move(*next++));
    all.push_back(std::move(entry));
  }
  std::move(next, second.end(), std::back_inserter(all));
  return all;
}

Json entry_json(const AuditEntry& entry) {
  return {{"time", utc_text(entry.time)},         {"login", valid_utf8(entry.login)},
          {"address", valid_utf8(entry.address)}, {"action", valid_utf8(entry.action)},
          {"object", valid_utf8(entry.object)},   {"outcome", valid_utf8(entry.outcome)}};
}

// Spreadsheets run a cell that begins like a formula, quoted or not; an apostrophe makes it text.
std::string csv_cell(std::string_view text) {
  const std::string plain = valid_utf8(text);
  std::string cell = "\"";
  if (!plain.empty() && (plain.find_first_of("=+-@") == 0 || is_control(plain[0]))) cell += '\'';
  for (const char c : plain) cell += c == '"' ? "\"\"" : std::string(1, c);
  return cell + '"';
}

template <typename Texts>
std::string csv_row(const Texts& texts, std::string_view separator) {
  std::string row;
  for (const auto& text : texts) {
    if (!row.empty()) row += separator;
    row += csv_cell(text);
  }
  return row + "\r\n";
}

// Spreadsheets know this form of a time for one.
std::string cell_time(int64_t seconds) {
  std::string text = utc_text(seconds);
  text.replace(text.find('T'), 1, " ");
  return text.substr(0, text.size() - 1);
}

}  // namespace

AuditQuery audit_query(const std::vector<Field>& fields) {
  AuditQuery query;
  query.filter = {.login = value(fields, "login"),
                  .address = value(fields, "address"),
                  .action = value(fields, "action"),
                  .object = value(fields, "object"),
                  .limit = kEverything};
  const std::string outcome = value(fields, "outcome");
  if (!outcome.empty()) query.filter.is_done = outcome == "done";
  if (const auto from = parse_moment(value(fields, "from"))) query.filter.begin = from->begin;
  if (const auto to = parse_moment(value(fields, "to"))) query.filter.end = to->end;
  const std::string page = value(fields, "page");
  std::from_chars(page.data(), page.data() + page.size(), query.page);
  query.as_lines = value(fields, "format") == "jsonl";
  return query;
}

std::vector<AuditEntry> audit_trail(Audit& audit, const AuditFilter& filter) {
  std::vector<AuditEntry> all = merged(audit.list(filter), setting_changes(filter));
  all.resize(std::min(all.size(), static_cast<size_t>(filter.limit)));
  return all;
}

Json audit_page(Audit& audit, const AuditQuery& query) {
  AuditFilter filter = query.filter;
  filter.limit = query.page * kPageSize + 1;
  const std::vector<AuditEntry> all = audit_trail(audit, filter);
  const size_t end = static_cast<size_t>(query.page) * kPageSize;
  Json entries = Json::array();
  for (size_t i = end - kPageSize; i < std::min(end, all.size()); ++i) {
    entries.push_back(entry_json(all[i]));
  }
  return {{"entries", std::move(entries)}, {"page", query.page}, {"hasOlder", all.size() > end}};
}

std::string audit_csv(const std::vector<AuditEntry>& entries, std::string_view separator) {
  std::string text = "\xEF\xBB\xBF" + csv_row(kColumns, separator);
  for (const AuditEntry& entry : entries) {
    const std::string cells[] = {cell_time(entry.time), entry.login,  entry.address,
                                 entry.action,          entry.object, entry.outcome};
    text += csv_row(cells, separator);
  }
  return text;
}

std::string audit_lines(const std::vector<AuditEntry>& entries) {
  std::string text;
  for (const AuditEntry& entry : entries) text += entry_json(entry).dump() + '\n';
  return text;
}

}  // namespace platen
