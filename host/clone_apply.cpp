// Copies templates over those of the device, and sets settings.
// SPDX-License-Identifier: MIT
#include "clone_apply.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "clone_maker.h"
#include "mailbox.h"
#include "mailbox_upkeep.h"
#include "module_request.h"
#include "platform/configapi.h"
#include "policy.h"
#include "said.h"
#include "staged_file.h"

namespace platen {
namespace {

namespace fs = std::filesystem;

bool is_folder(const CloneItem& item) {
  return item.kind == CloneItem::Kind::file &&
         item.name.starts_with(std::string(kMailboxPool) + "/");
}

bool concerns_mailbox(const CloneItem& item) {
  return is_folder(item) ||
         (item.kind == CloneItem::Kind::setting && item.name.starts_with(mailbox_key("")));
}

std::string not_stored(const std::string& name) {
  return said("{1} cannot be stored; the log says why.", name);
}

// A PIN that an earlier folder of that name has left must not open the new one.
std::string make_folder(const CloneItem& item) {
  const std::string folder = fs::path(item.name).stem();
  if (Cfg_SetAttrValue(pin_key(folder).c_str(), "") != CFG_OK) return not_stored(item.name);
  std::error_code fault;
  fs::create_directories(folder_directory(folder), fault);
  if (!fault) return "";
  return said("The directory of the folder {1} cannot be made: {2}.", folder, fault.message());
}

std::string store_template(const ParserModule& module, const CloneItem& item) {
  if (is_folder(item) && item.state == CloneItem::State::added) {
    if (std::string fault = make_folder(item); !fault.empty()) return fault;
  }
  ModuleRequest request(module, {}, "");
  const StagedFile staged(item.value);
  const KWTSTATUS status = module.copy_template(staged.path().c_str(), item.name.c_str());
  const std::vector<std::string> failures = request.take_failures();
  if (status == KWT_SUCCESS && failures.empty()) return "";
  std::string text = not_stored(item.name);
  for (const std::string& failure : failures) text += "\n" + failure;
  return text;
}

std::string store(const ParserModule& module, const CloneItem& item) {
  if (item.kind == CloneItem::Kind::file) {
    try {
      return store_template(module, item);
    } catch (const std::system_error& fault) {
      return not_stored(item.name) + "\n" + fault.what();
    }
  }
  const bool is_stored = Cfg_SetAttrValue(item.name.c_str(), item.value.c_str()) == CFG_OK;
  return is_stored ? "" : not_stored(item.name);
}

}  // namespace

CloneResult apply_clone(const ParserModule& module, const std::vector<CloneItem>& items) {
  CloneResult result;
  result.concerns_mailbox = std::ranges::any_of(items, concerns_mailbox);
  if (result.concerns_mailbox && !begin_upkeep()) {
    result.fault = said("The settings cannot be written; the log says why. Try again.");
  }
  for (const CloneItem& item : items) {
    if (result.fault.empty()) result.fault = store(module, item);
    (result.fault.empty() ? result.done : result.missing).push_back(item.name);
  }
  return result;
}

}  // namespace platen
