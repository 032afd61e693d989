// Checks clone documents and compares them with the device.
// SPDX-License-Identifier: MIT
#include "clone_summary.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <set>
#include <tuple>
#include <utility>

#include "clone_maker.h"
#include "clone_secrets.h"
#include "field_rules.h"
#include "file_bytes.h"
#include "mailbox_spool.h"
#include "platform/configapi.h"
#include "policy.h"
#include "said.h"
#include "staged_file.h"
#include "template_difference.h"

namespace platen {
namespace {

namespace fs = std::filesystem;

constexpr size_t kLongestPath = 254;
constexpr size_t kLongestKey = 255;
constexpr size_t kLongestValue = sizeof(ConfigAVP_t) - 1;
constexpr const char* kStateNames[] = {"same", "new", "different", "blocked"};

std::string joined(const std::vector<std::string>& names) {
  std::string list;
  for (const std::string& name : names) list += (list.empty() ? "" : ", ") + valid_utf8(name);
  return list;
}

std::string check_template(const CloneTarget& target, const ClonedTemplate& file) {
  const std::string fault = value_fault({"", Kind::template_path, kLongestPath}, file.path);
  if (!fault.empty() || target.contents.token_of_template(file.path) != file.group) {
    return said("The clone file holds the template {1}, which belongs to no group of this device.",
                file.path);
  }
  const StagedFile staged(file.text);
  const WithheldText read = withhold_secrets(target.module, staged.path(), file.text);
  if (!read.fault.empty()) return store_words(read.fault, staged.path(), file.path);
  if (read.text == file.text) return "";
  return said("The clone file holds secrets in the template {1}, which are not taken: {2}.",
              file.path, joined(read.names));
}

std::string check_setting(const CloneTarget& target, const ClonedSetting& setting) {
  if (is_secret_name(setting.key)) {
    return said("The clone file holds the setting {1}, which is secret and not taken.",
                setting.key);
  }
  if (setting.key.size() > kLongestKey ||
      target.contents.token_of_setting(setting.key) != setting.group) {
    return said("The clone file holds the setting {1}, which belongs to no group of this device.",
                setting.key);
  }
  const bool is_value =
      setting.value.size() <= kLongestValue && setting.value.find('\0') == std::string::npos;
  return is_value ? "" : said("The value of the setting {1} is too long or no text.", setting.key);
}

// Names that stand twice, and groups that the file does not name.
std::string check_names(const CloneDocument& document) {
  std::set<int> groups;
  for (const CloneGroupName& group : document.groups) groups.insert(group.token);
  std::set<std::string> seen;
  const auto fault = [&](const std::string& name, int group) -> std::string {
    if (!seen.insert(name).second) return said("The clone file holds {1} twice.", name);
    return groups.contains(group) ? ""
                                  : said("The clone file does not name the group of {1}.", name);
  };
  for (const ClonedTemplate& file : document.templates) {
    if (std::string text = fault(file.path, file.group); !text.empty()) return text;
  }
  for (const ClonedSetting& setting : document.settings) {
    if (std::string text = fault(setting.key, setting.group); !text.empty()) return text;
  }
  return "";
}

bool exists(const std::string& path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0;
}

bool is_in_mailbox(const std::string& path) {
  return path.starts_with(std::string(kMailboxPool) + "/");
}

// Why a template of the mailbox cannot be taken over; "" when it can. It is a folder.
std::string folder_block(const std::string& path, bool is_new) {
  const std::string folder = fs::path(path).stem();
  if (folder == kPublicFolder) {
    return said("The template of the public folder comes and goes with its setting.");
  }
  const std::string fault = value_fault({"", Kind::folder, kFolderLimit}, folder);
  if (!fault.empty() || !path.ends_with(".KTP")) {
    return said("A mailbox folder cannot have this name.");
  }
  if (!is_new || !exists(folder_directory(folder))) return "";
  return said("Jobs of an earlier folder of this name are still there. Remove them first.");
}

std::string template_block(const std::string& path, bool is_new) {
  if (is_default_template(path)) return said("The default template of the device is not replaced.");
  return is_in_mailbox(path) ? folder_block(path, is_new) : "";
}

std::string template_note(const ClonedTemplate& file, bool is_new) {
  std::string note;
  if (is_new && is_in_mailbox(file.path)) {
    note = said("A folder is made for it. It is open to everybody until you give it a PIN.");
  }
  if (file.withheld.empty()) return note;
  const std::string names = joined(file.withheld);
  if (!note.empty()) note += ' ';
  return note + (is_new
                     ? said("Not in the file, as it is secret: {1}. Fill it in afterwards.", names)
                     : said("Secrets that this device holds for it stay: {1}.", names));
}

// Values of secrets, which no page shows.
void hide_secrets(const std::vector<TemplateAttribute>& secrets, Json* difference) {
  std::set<std::tuple<std::string, std::string, std::string>> places;
  for (const TemplateAttribute& row : secrets) {
    places.emplace(valid_utf8(row.service), valid_utf8(row.invocation), valid_utf8(row.attribute));
  }
  for (Json& row : (*difference)["attributes"]) {
    if (!places.contains({row["service"], row["invocation"], row["attribute"]})) continue;
    row["before"]["values"] = Json::array({said("(hidden)")});
  }
}

// Fills in what is to be stored, and how it differs from what the device holds. Returns why the
// present file cannot be read, or "". Both are laid out as they were read: nobody changes them.
std::string lay_over(const ParserModule& module, const ClonedTemplate& file, bool is_new,
                     CloneItem* item) {
  const StagedFile plain(file.text);
  const StagedFile present(item->present);
  std::string fault;
  const auto held = read_attributes(module, is_new ? "" : present.path(), &fault);
  item->value = file.text;
  if (!is_new && fault.empty()) {
    item->value =
        with_secrets_of(module, {present.path(), item->present}, {plain.path(), file.text});
  }
  const StagedFile next(item->value);
  const bool has_before = !is_new && fault.empty();
  item->detail = difference_json(module, has_before ? present.path() : "", next.path());
  for (const char* side : {"before", "after"}) {
    if (!item->detail[side].is_null()) item->detail[side]["file"] = file.path;
  }
  hide_secrets(secret_attributes(held), &item->detail);
  return store_words(fault, present.path(), file.path);
}

CloneItem compare_template(const CloneTarget& target, const ClonedTemplate& file) {
  CloneItem item{CloneItem::Kind::file, file.path, file.group};
  const bool is_new = !exists(file.path);
  const auto present = file_bytes(file.path);
  const std::string unreadable = is_new || present ? "" : std::strerror(errno);
  item.present = present.value_or("");
  item.note = template_note(file, is_new);
  const std::string fault = lay_over(target.module, file, is_new, &item);
  if (!fault.empty()) item.note = said("The present file cannot be read: {1}", fault);
  const bool is_same = fault.empty() && item.detail["attributes"].empty();
  item.state = is_new    ? CloneItem::State::added
               : is_same ? CloneItem::State::same
                         : CloneItem::State::changed;
  const std::string block = unreadable.empty()
                                ? template_block(file.path, is_new)
                                : said("The present file cannot be read: {1}", unreadable);
  if (block.empty()) return item;
  item.state = CloneItem::State::blocked;
  item.note = block;
  return item;
}

CloneItem compare_setting(const ClonedSetting& setting) {
  CloneItem item{CloneItem::Kind::setting, setting.key, setting.group};
  ConfigAVP_t present = "";
  const bool is_set = Cfg_GetAttrValue(setting.key.c_str(), present, sizeof present) == CFG_OK;
  item.value = setting.value;
  item.present = present;
  item.detail = is_set ? Json(valid_utf8(item.present)) : Json();
  item.state = !is_set                      ? CloneItem::State::added
               : item.present == item.value ? CloneItem::State::same
                                            : CloneItem::State::changed;
  return item;
}

// A group that this device does not offer stays out.
void block_foreign(const CloneMenu& menu, std::vector<CloneItem>* items) {
  const std::set<int> offered = menu.tokens();
  for (CloneItem& item : *items) {
    if (offered.contains(item.group)) continue;
    item.state = CloneItem::State::blocked;
    item.note = said("This device does not offer the group.");
  }
}

std::string group_name(const CloneMenu& menu, const CloneDocument& document, int token) {
  const std::string name = menu.name_of(token);
  const auto group = std::ranges::find(document.groups, token, &CloneGroupName::token);
  return name.empty() && group != document.groups.end() ? group->name : name;
}

}  // namespace

std::string check_clone(const CloneTarget& target, const CloneDocument& document) {
  if (std::string fault = check_names(document); !fault.empty()) return fault;
  for (const ClonedSetting& setting : document.settings) {
    if (std::string fault = check_setting(target, setting); !fault.empty()) return fault;
  }
  for (const ClonedTemplate& file : document.templates) {
    if (std::string fault = check_template(target, file); !fault.empty()) return fault;
  }
  return "";
}

std::vector<CloneItem> compare_clone(const CloneTarget& target, const CloneDocument& document) {
  std::vector<CloneItem> items;
  for (const ClonedTemplate& file : document.templates) {
    items.push_back(compare_template(target, file));
  }
  for (const ClonedSetting& setting : document.settings) items.push_back(compare_setting(setting));
  block_foreign(target.menu, &items);
  return items;
}

std::string clone_digest(const std::vector<CloneItem>& items) {
  std::string all;
  for (const CloneItem& item : items) {
    all += kStateNames[static_cast<size_t>(item.state)] + sha256(item.present);
  }
  return sha256(all);
}

Json clone_items_json(const CloneMenu& menu, const CloneDocument& document,
                      const std::vector<CloneItem>& items) {
  Json list = Json::array();
  for (const CloneItem& item : items) {
    const bool is_file = item.kind == CloneItem::Kind::file;
    list.push_back({{"number", list.size()},
                    {"kind", is_file ? "template" : "setting"},
                    {"name", valid_utf8(item.name)},
                    {"token", item.group},
                    {"group", group_name(menu, document, item.group)},
                    {"state", kStateNames[static_cast<size_t>(item.state)]},
                    {"note", item.note.empty() ? Json() : Json(item.note)},
                    {"difference", is_file ? item.detail : Json()},
                    {"before", is_file ? Json() : item.detail},
                    {"after", is_file ? Json() : Json(valid_utf8(item.value))}});
  }
  return list;
}

}  // namespace platen
