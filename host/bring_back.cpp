// The checks of a version, its copy, and what follows from it.
// SPDX-License-Identifier: MIT
#include "bring_back.h"

#include "module_request.h"
#include "said.h"
#include "template_difference.h"

namespace platen {
namespace {

constexpr const char* kAbsent = "none";

Outcome refuse_changed(const std::string& name, const std::string& present) {
  if (present == kAbsent) {
    return refusal(409, said("\"{1}\" was deleted meanwhile. Press the button again to make it "
                             "again with what it held before.",
                             name));
  }
  return refusal(409, said("Somebody else has changed \"{1}\" meanwhile. Look at the difference to "
                           "what it holds now, and press the button again to bring this back.",
                           name));
}

// Why the copy failed: the version cannot be read, or what the store tells of the template.
Outcome refuse_copy(const ParserModule& module, const std::string& name, const std::string& kept,
                    const std::vector<std::string>& failures) {
  std::string text = said("\"{1}\" is as it was.", name);
  std::string fault;
  read_attributes(module, kept, &fault);
  if (!fault.empty()) return refusal(422, text + '\n' + fault, "version");
  for (const std::string& failure : failures) text += '\n' + failure;
  return refusal(500, text + '\n' +
                          said("It could not be stored; try again, or tell the "
                               "administrator."));
}

std::string done(const std::string& name, bool was_there) {
  if (!was_there) return said("\"{1}\" is there again.", name);
  return said(
      "\"{1}\" holds again what it held before. What it held until now is kept as its "
      "newest version, so that this can be undone.",
      name);
}

}  // namespace

Outcome bring_back(const Post& post, const ParserModule& module, const TemplateHistory& history) {
  const std::string path = source_path(post.form, post.fields);
  const std::string name = path.substr(path.rfind('/') + 1);
  const std::string present = TemplateHistory::seen(path);
  const std::string kept = history.kept_file(path, field_value(post.fields, "version"));
  if (kept.empty()) {
    return refusal(404, said("This version is not kept any more. Choose another."), "version");
  }
  if (field_value(post.fields, "seen") != present) return refuse_changed(name, present);
  ModuleRequest request(module, {}, "");
  const KWTSTATUS status = module.copy_template(kept.c_str(), path.c_str());
  const std::vector<std::string> failures = request.take_failures();
  if (status != KWT_SUCCESS) return refuse_copy(module, name, kept, failures);
  return success(done(name, present != kAbsent));
}

}  // namespace platen
