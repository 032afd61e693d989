// Reads, checks and places template files as bytes.
// SPDX-License-Identifier: MIT
#include "template_exchange.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "error_page.h"
#include "file_bytes.h"
#include "module_request.h"
#include "next_page.h"
#include "said.h"
#include "staged_file.h"
#include "template_difference.h"

namespace platen {
namespace {

std::string file_name(std::string_view path) {
  return std::string(path.substr(path.rfind('/') + 1));
}

// What is wrong with a file, in the store's words, but under the name that the visitor knows.
std::string template_fault(const ParserModule& module, const std::string& path,
                           const std::string& name) {
  std::string fault;
  read_attributes(module, path, &fault);
  return fault.starts_with(path) ? name + fault.substr(path.size()) : fault;
}

Outcome not_stored(const std::string& name, const std::vector<std::string>& failures) {
  std::string text = said("\"{1}\" could not be stored; the pool is as it was. Try again.", name);
  for (const std::string& failure : failures) text += "\n" + failure;
  return refusal(500, std::move(text));
}

}  // namespace

Response download_template(const DownloadContext& context) {
  const std::string path = query_value(context.request.query, "ParserFilename");
  const std::string version = query_value(context.request.query, "version");
  if (path.empty()) {
    return error_response(400, said("The address names no template."),
                          said("Choose a template and download it from its page."));
  }
  std::optional<std::string> bytes =
      file_bytes(version.empty() ? path : context.history.kept_file(path, version));
  const std::string name = file_name(path);
  if (!bytes && !version.empty()) {
    return error_response(404, said("This version is not kept any more."),
                          said("Choose another from the history of the template."));
  }
  if (!bytes) {
    return error_response(404, said("There is no template \"{1}\".", name),
                          said("Choose another from the list of templates."));
  }
  return attachment(name, "application/octet-stream", *std::move(bytes));
}

Outcome upload_template(const Post& post, const ParserModule& module) {
  const FormField& upload = *std::ranges::find(post.fields, true, &FormField::is_file);
  if (upload.file_name.empty()) return refusal(422, said("Choose a file."), "file");
  const std::string destination = destination_path(post.form, post.fields);
  const std::string name = file_name(destination);
  const StagedFile file(upload.value);
  if (const std::string fault = template_fault(module, file.path(), upload.file_name);
      !fault.empty()) {
    return refusal(422, said("The file is no template: {1}. Mend it and choose it again.", fault),
                   "file");
  }
  ModuleRequest request(module, {}, "");
  if (module.copy_template(file.path().c_str(), destination.c_str()) != 0) {
    return not_stored(name, request.take_failures());
  }
  return success(
      said("\"{1}\" is uploaded.", name),
      next_page(post, page_address("/template.html", {{"ParserFilename", destination}})));
}

}  // namespace platen
