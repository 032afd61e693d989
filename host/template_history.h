// What a template held before, as pages show it and as it is brought back.
// SPDX-License-Identifier: MIT
#ifndef HOST_TEMPLATE_HISTORY_H_
#define HOST_TEMPLATE_HISTORY_H_

#include <string>
#include <vector>

#include "accounts.h"
#include "http_message.h"
#include "output_format.h"
#include "parser_module.h"

namespace platen {

// The most versions that are kept of each template.
inline constexpr int kKeptVersions = 20;

// What a template held before one change of it.
struct KeptVersion {
  std::string id;
  std::string file;    // where it is kept
  long long time = 0;  // of the change, in seconds since 1970
  std::string who;     // made the change; "" = nobody who was logged in
  std::string act;     // what the change was: "save", "copy" or "delete"
  long long size = 0;
};

// The query fields of the pages are those that policy lets through.
class TemplateHistory {
 public:
  // `directory` is where the store keeps its history. Requires `module` to outlive the object.
  TemplateHistory(const ParserModule& module, std::string directory)
      : module_(module), directory_(std::move(directory)) {}

  // What is kept of the template `path`, the newest first.
  std::vector<KeptVersion> versions(const std::string& path) const;

  // The file that is kept of the template `path` as the version `id`; "" when there is none.
  std::string kept_file(const std::string& path, const std::string& id) const;

  // The difference that a page is about, as difference_json() gives it: the version of the template
  // before what the template holds now, or a factory template before the one of its name that the
  // device uses, or before the one that the fields TemplateDir and file choose. Null when the page is
  // about none; a version that is gone is a fault.
  Json difference(const std::vector<Field>& query) const;

  // The factory templates, as factory_templates() gives them.
  Json factory() const;

  // The versions of the template that a page is about, the newest first:
  //   {"file", "present": whether there is such a file, "seen": what seen() gives,
  //    "versions": [{"id", "time": "2026-11-21T13:03:22Z", "who", "act", "size"}]}
  // Null when the page is about none.
  Json list(const std::vector<Field>& query) const;

  // The templates of the directory that a page is about which are not there any more but have
  // versions, with the change by which they went, sorted by name: [{"name", "time", "who"}]. Null
  // when somebody of that role may not change what lies there.
  Json deleted(const std::vector<Field>& query, Role role) const;

  // Tells one content of the file from every other that it has had; "none" without a file.
  static std::string seen(const std::string& path);

 private:
  const ParserModule& module_;
  std::string directory_;
};

}  // namespace platen

#endif  // HOST_TEMPLATE_HISTORY_H_
