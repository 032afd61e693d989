// Which files of a directory are templates, and in what order they are listed.
// SPDX-License-Identifier: MIT
#include "template_pool.h"

#include <algorithm>

#include "template_file.h"

namespace store {
namespace {

constexpr std::string_view kSuffix = ".ktp";

char to_lower(char letter) {
  return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

}  // namespace

bool is_template_name(std::string_view name) {
  if (name.size() <= kSuffix.size() || name.front() == '.') return false;
  std::string_view suffix = name.substr(name.size() - kSuffix.size());
  return std::equal(suffix.begin(), suffix.end(), kSuffix.begin(),
                    [](char given, char wanted) { return to_lower(given) == wanted; });
}

Status list_templates(const char* directory, std::vector<std::string>* names) {
  Status status = list_directory(directory, names);
  if (!status.ok()) return status;
  std::erase_if(*names, [](const std::string& name) { return !is_template_name(name); });
  std::sort(names->begin(), names->end());
  return status;
}

}  // namespace store
