// The verbs that change a template: each opens it, makes all its edits, and saves once.
// SPDX-License-Identifier: MIT
#include <sys/stat.h>

#include <cstdio>
#include <filesystem>
#include <functional>
#include <iostream>
#include <memory>
#include <optional>

#include "address.h"
#include "template_file.h"
#include "template_json.h"
#include "verbs.h"

namespace ktp {
namespace {

constexpr char kGeneral[] = "qvn_svc_general";

// What the edits of a verb are: the operands behind the file, or, for "-", the lines of standard
// input.
std::vector<std::string> items_of(const Options& options) {
  std::vector<std::string> items(options.operands.begin() + 1, options.operands.end());
  if (items != std::vector<std::string>{"-"}) return items;
  items.clear();
  for (std::string line; std::getline(std::cin, line);) items.push_back(line);
  return items;
}

// Throws for an edit that the store did not make; nothing has been saved then.
void require(bool_t made, TemplateFile& file, const std::string& item) {
  if (made) return;
  Exit status = GetLastTemplateError(file.object()) == KWTERR_NODATA ? kDiffers : kSaveFailed;
  throw Failure(status, file.path() + ": " + item + ": nothing was changed, as " +
                            std::string(jt_error(file.object())).substr(file.path().size() + 2));
}

using MakeEdit = std::function<bool_t(TemplateFile&, const Edit&)>;

// Makes the edits ADDRESS=VALUE of a call, and saves.
Exit edit_values(const Options& options, const MakeEdit& make) {
  guard(options.operands[0], options.force);
  TemplateFile file(options.operands[0]);
  for (const std::string& item : items_of(options)) {
    require(make(file, read_edit(item)), file, item);
  }
  file.save();
  return kDone;
}

struct Held {
  std::string type;
  bool compulsory = false;
};

// What the template holds for an address now, if it has that attribute.
std::optional<Held> find_held(TemplateFile& file, const Address& address) {
  std::vector<std::string> invocations = file.invocations(address.service);
  std::string invocation = address.invocation.value_or(invocations.empty() ? "" : invocations[0]);
  for (const Attribute& attribute : file.attributes()) {
    bool same = attribute.service == address.service && attribute.invocation == invocation &&
                attribute.name == address.attribute;
    if (same) return Held{attribute.type, attribute.compulsory};
  }
  return std::nullopt;
}

// The same; type and mark of a new attribute are the store's own.
Held held_of(TemplateFile& file, const Address& address) {
  return find_held(file, address).value_or(Held());
}

// What is to be held, as the options say.
Held changed(Held held, const Options& options) {
  if (options.compulsory && options.optional) {
    throw Failure(kWrongUse, "ktp: --compulsory and --optional cannot be had at once");
  }
  if (!options.type.empty()) held.type = options.type;
  held.compulsory = options.compulsory || (held.compulsory && !options.optional);
  return held;
}

bool_t write(TemplateFile& file, const Edit& edit, const Held& held, bool first) {
  return WriteAttributeFromStringUseFirst(
      file.object(), edit.address.service.c_str(), edit.address.invocation_name(),
      edit.address.attribute.c_str(), held.type.c_str(), edit.value.c_str(), first ? TRUE : FALSE,
      held.compulsory ? TRUE : FALSE);
}

bool_t delete_one(TemplateFile& file, const Address& address) {
  TemplateObject* object = file.object();
  const char* service = address.service.c_str();
  const char* invocation = address.invocation_name();
  if (address.attribute.empty()) {
    return invocation ? DeleteInvocation(object, service, invocation)
                      : DeleteService(object, service);
  }
  const char* attribute = address.attribute.c_str();
  return invocation ? DeleteAttributeWInvoc(object, service, invocation, attribute)
                    : DeleteAttribute(object, service, attribute);
}

// Adds an attribute without values.
void make_attribute(TemplateFile& file, const std::string& item, const Options& options) {
  Edit edit{read_address(item), ""};
  if (find_held(file, edit.address)) {
    throw Failure(kNotPermitted, file.path() + ": " + item + ": it is there already");
  }
  require(write(file, edit, changed(Held(), options), true), file, item);
  require(RemoveAttributeStringWInvoc(file.object(), edit.address.service.c_str(),
                                      edit.address.invocation_name(),
                                      edit.address.attribute.c_str(), ""),
          file, item);
}

// Adds an invocation; returns its address.
std::string make_invocation(TemplateFile& file, const std::string& item) {
  char name[256];
  Address address = read_address(item);
  if (address.invocation) {
    throw Failure(kWrongUse,
                  "ktp: " + item + ": the store names new invocations; give the service");
  }
  require(CreateInvocationWSize(file.object(), address.service.c_str(), name, sizeof name), file,
          item);
  return address_text(address.service, name, "") + "\n";
}

// Copies a template and gives it the name of its new file, as the pages do. It gets the name before
// it is copied, so that the file is replaced once.
void copy_named(const std::string& from, const std::string& to, const Options& options) {
  static_cast<void>(TemplateFile(from));  // tells what is wrong with it by its own name
  struct stat info = {};
  ::stat(from.c_str(), &info);
  TemporaryFile named(read_bytes(from), info.st_mode & 07777);
  TemplateFile file(named.path());
  std::string name = std::filesystem::path(to).filename();
  require(
      WriteAttributeStringWInvoc(file.object(), kGeneral, nullptr, "JobTemplateName", name.c_str()),
      file, "JobTemplateName");
  jt_history(nullptr, 1, nullptr);  // the temporary file has none
  file.save();
  set_history(options);
  copy_template(named.path(), to);
}

// The mode that a shell's redirection would give a new file.
mode_t mode_of_new_file() {
  mode_t mask = ::umask(0);
  ::umask(mask);
  return 0666 & ~mask;
}

void guard_target(const std::string& path, bool force) {
  guard(path, force);
  struct stat info = {};
  if (force || ::lstat(path.c_str(), &info) != 0) return;
  throw Failure(kNotPermitted, path + ": it is there already; --force replaces it");
}

}  // namespace

Exit set_values(const Options& options) {
  return edit_values(options, [&](TemplateFile& file, const Edit& edit) {
    return write(file, edit, changed(held_of(file, edit.address), options), true);
  });
}

Exit add_values(const Options& options) {
  return edit_values(options, [](TemplateFile& file, const Edit& edit) {
    return write(file, edit, held_of(file, edit.address), false);
  });
}

Exit remove_values(const Options& options) {
  return edit_values(options, [](TemplateFile& file, const Edit& edit) {
    return RemoveAttributeStringWInvoc(file.object(), edit.address.service.c_str(),
                                       edit.address.invocation_name(),
                                       edit.address.attribute.c_str(), edit.value.c_str());
  });
}

Exit make_new(const Options& options) {
  guard(options.operands[0], options.force);
  TemplateFile file(options.operands[0]);
  std::string names;
  for (const std::string& item : items_of(options)) {
    if (read_address(item).attribute.empty()) {
      names += make_invocation(file, item);
    } else {
      make_attribute(file, item, options);
    }
  }
  file.save();
  std::fputs(names.c_str(), stdout);
  return kDone;
}

Exit delete_things(const Options& options) {
  guard(options.operands[0], options.force);
  TemplateFile file(options.operands[0]);
  for (const std::string& item : items_of(options)) {
    require(delete_one(file, read_address(item)), file, item);
  }
  file.save();
  return kDone;
}

Exit copy(const Options& options) {
  const std::string& from = options.operands[0];
  std::filesystem::path to = options.operands[1];
  if (is_directory(to)) to /= std::filesystem::path(from).filename();
  guard_target(to, options.force);
  copy_named(from, to, options);
  return kDone;
}

Exit restore(const Options& options) {
  const std::string& path = options.operands[0];
  guard(path, options.force);
  std::filesystem::path file = std::filesystem::absolute(path);
  std::filesystem::path factory = options.factory.empty()
                                      ? file.parent_path().parent_path() / "factory"
                                      : std::filesystem::path(options.factory);
  copy_named(factory / file.filename(), path, options);
  return kDone;
}

Exit import_json(const Options& options) {
  const std::string& path = options.operands[0];
  const std::string source = options.operands.size() > 1 ? options.operands[1] : "-";
  guard_target(path, options.force);
  TemporaryFile text(from_json(source, read_bytes(source)), mode_of_new_file());
  try {
    copy_template(text.path(), path);
  } catch (const Failure& failure) {
    std::string words = failure.what();
    bool from_text = words.starts_with(text.path());
    throw Failure(
        failure.status(),
        from_text ? source + ": it describes no template" + words.substr(words.find(": ")) : words);
  }
  return kDone;
}

Exit undo(const Options& options) {
  const std::string& path = options.operands[0];
  guard(path, options.force);
  std::unique_ptr<JT_VERSION, void (*)(JT_VERSION*)> versions(jt_versions(path.c_str()),
                                                              jt_free_versions);
  const JT_VERSION* version = versions.get();
  while (version && !options.version.empty() && options.version != version->id) {
    version = version->next;
  }
  if (!version) throw Failure(kDiffers, path + ": the history holds no such version of it");
  copy_template(version->path, path);
  return kDone;
}

}  // namespace ktp
