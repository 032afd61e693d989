// Compares the factory pool with the system and mailbox pools.
// SPDX-License-Identifier: MIT
#include "factory_pool.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>

#include "field_rules.h"
#include "policy.h"
#include "template_difference.h"

namespace platen {
namespace {

namespace fs = std::filesystem;

constexpr size_t kLongestName = 255;

std::string path_in(std::string_view pool, const std::string& name) {
  return std::string(pool) + '/' + name;
}

bool is_name(const AttributeDifference& row, const std::string& name) {
  return row.service == "qvn_svc_general" && row.attribute == "JobTemplateName" && row.after &&
         row.after->values == std::vector<std::string>{name};
}

std::string state(const ParserModule& module, std::string_view pool, const std::string& name) {
  const std::string used = path_in(pool, name);
  std::error_code unknown;
  if (!fs::exists(fs::symlink_status(used, unknown))) return "missing";
  std::string fault;
  std::string used_fault;
  const auto shipped = read_attributes(module, path_in(kFactoryPool, name), &fault);
  const auto now = read_attributes(module, used, &used_fault);
  if (!fault.empty() || !used_fault.empty()) return "broken";
  const auto rows = find_differences(shipped, now);
  const bool is_same =
      std::ranges::all_of(rows, [&](const AttributeDifference& row) { return is_name(row, name); });
  return is_same ? "same" : "different";
}

std::set<std::string> template_names(std::string_view pool) {
  std::set<std::string> names;
  std::error_code missing;
  for (const fs::directory_entry& entry : fs::directory_iterator(pool, missing)) {
    const std::string name = entry.path().filename();
    if (value_fault({"", Kind::file_name, kLongestName}, name).empty()) names.insert(name);
  }
  return names;
}

}  // namespace

Json factory_templates(const ParserModule& module) {
  Json rows = Json::array();
  for (const std::string& name : template_names(kFactoryPool)) {
    rows.push_back({{"name", valid_utf8(name)},
                    {"system", state(module, kSystemPool, name)},
                    {"mailbox", state(module, kMailboxPool, name)}});
  }
  return rows;
}

}  // namespace platen
