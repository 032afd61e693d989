// Finds the files that a page's query is about.
// SPDX-License-Identifier: MIT
#include "template_history.h"

#include <sys/stat.h>

#include <algorithm>
#include <string>
#include <string_view>

#include "policy.h"
#include "template_difference.h"

namespace platen {
namespace {

bool exists(const std::string& path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0;
}

std::string query_value(const std::vector<Field>& query, std::string_view name) {
  const auto found = std::ranges::find(query, name, &Field::first);
  return found == query.end() ? "" : found->second;
}

// The template that a factory template stands for: the mailbox folder's where only that exists. An
// empty path when there is neither.
std::string used_instead_of(std::string_view factory_name) {
  for (const std::string_view pool : {kSystemPool, kMailboxPool}) {
    std::string path = std::string(pool) + '/' + std::string(factory_name);
    if (exists(path)) return path;
  }
  return "";
}

}  // namespace

Json TemplateHistory::difference(const std::vector<Field>& query) const {
  const std::string path = query_value(query, "ParserFilename");
  const size_t name = path.rfind('/') + 1;
  if (std::string_view(path).substr(0, name) != std::string(kFactoryPool) + '/') return nullptr;
  return difference_json(module_, path, used_instead_of(std::string_view(path).substr(name)));
}

}  // namespace platen
