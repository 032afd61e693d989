// Finds what the store keeps of the templates that a page is about.
// SPDX-License-Identifier: MIT
#include "template_history.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string_view>
#include <utility>

#include "factory_pool.h"
#include "moment.h"
#include "policy.h"
#include "said.h"
#include "template_difference.h"

namespace platen {
namespace {

namespace fs = std::filesystem;

struct FreeVersions {
  decltype(&jt_free_versions) free;
  void operator()(JT_VERSION* list) const { free(list); }
};

bool exists(const std::string& path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0;
}

std::string directory_of(const std::string& path) { return path.substr(0, path.rfind('/')); }

std::string name_of(const std::string& path) { return path.substr(path.rfind('/') + 1); }

// The template that a page compares a factory template with: in the pool and of the name that the
// fields TemplateDir and file give, else of its own name, the mailbox folder's where only that
// exists. An empty path when there is none.
std::string used_instead_of(const std::string& factory_path, const std::vector<Field>& query) {
  const std::string pool_asked = query_value(query, "TemplateDir");
  const std::string name_asked = query_value(query, "file");
  const std::string name = name_asked.empty() ? name_of(factory_path) : name_asked;
  for (const std::string_view pool : {kSystemPool, kMailboxPool}) {
    std::string path = std::string(pool) + '/' + name;
    if ((pool_asked.empty() || pool_asked == pool) && exists(path)) return path;
  }
  return "";
}

std::string point_in_time(const timespec& time) {
  return std::to_string(time.tv_sec) + '.' + std::to_string(time.tv_nsec);
}

}  // namespace

std::vector<KeptVersion> TemplateHistory::versions(const std::string& path) const {
  const std::unique_ptr<JT_VERSION, FreeVersions> first(module_.versions(path.c_str()),
                                                        {module_.free_versions});
  std::vector<KeptVersion> list;
  for (const JT_VERSION* version = first.get(); version != nullptr; version = version->next) {
    list.push_back(
        {version->id, version->path, version->time, version->who, version->act, version->size});
  }
  return list;
}

std::string TemplateHistory::kept_file(const std::string& path, const std::string& id) const {
  const std::vector<KeptVersion> list = versions(path);
  const auto found = std::ranges::find(list, id, &KeptVersion::id);
  return found == list.end() ? "" : found->file;
}

Json TemplateHistory::difference(const std::vector<Field>& query) const {
  const std::string path = query_value(query, "ParserFilename");
  const std::string id = query_value(query, "version");
  if (path.empty()) return nullptr;
  if (id.empty()) {
    if (directory_of(path) != kFactoryPool) return nullptr;
    return difference_json(module_, path, used_instead_of(path, query));
  }
  const std::string kept = kept_file(path, id);
  if (!kept.empty()) return difference_json(module_, kept, exists(path) ? path : "");
  Json difference = difference_json(module_, "", "");
  difference["fault"] = said("This version is not kept any more.");
  return difference;
}

Json TemplateHistory::factory() const { return factory_templates(module_); }

Json TemplateHistory::list(const std::vector<Field>& query) const {
  const std::string path = query_value(query, "ParserFilename");
  if (path.empty()) return nullptr;
  Json rows = Json::array();
  for (const KeptVersion& version : versions(path)) {
    rows.push_back({{"id", version.id},
                    {"time", utc_text(version.time)},
                    {"who", valid_utf8(version.who)},
                    {"act", version.act},
                    {"size", version.size}});
  }
  return {{"file", valid_utf8(path)},
          {"present", exists(path)},
          {"seen", seen(path)},
          {"versions", std::move(rows)}};
}

// The store keeps the versions of a template in a directory that has the template's own path below
// that of the history.
Json TemplateHistory::deleted(const std::vector<Field>& query, Role role) const {
  const std::string directory = query_value(query, "TemplateDir");
  if (directory.empty() || role < writer_role(directory + '/')) return nullptr;
  const auto path_of = [&](const std::string& name) { return fs::path(directory) / name; };
  std::vector<std::string> names;
  std::error_code fault;
  const fs::path kept = directory_ + fs::canonical(directory, fault).string();
  for (fs::directory_iterator entry(kept, fault), end; !fault && entry != end;
       entry.increment(fault)) {
    const std::string name = entry->path().filename();
    if (!exists(path_of(name))) names.push_back(name);
  }
  std::ranges::sort(names);
  Json rows = Json::array();
  for (const std::string& name : names) {
    const std::vector<KeptVersion> list = versions(path_of(name));
    if (list.empty()) continue;
    rows.push_back({{"name", valid_utf8(name)},
                    {"time", utc_text(list.front().time)},
                    {"who", valid_utf8(list.front().who)}});
  }
  return rows;
}

// The store replaces files and never writes into them, so that another content is another file.
std::string TemplateHistory::seen(const std::string& path) {
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0) return "none";
  return std::to_string(status.st_ino) + '-' + std::to_string(status.st_size) + '-' +
         point_in_time(status.st_mtim) + '-' + point_in_time(status.st_ctim);
}

}  // namespace platen
