// The upkeep, and what it has changed.
// SPDX-License-Identifier: MIT
#include "mailbox_upkeep.h"

#include <algorithm>
#include <map>
#include <vector>

#include "device/configuration.h"
#include "device/log.h"
#include "device/phrases.h"
#include "mailbox.h"
#include "module_request.h"
#include "platform/configapi.h"
#include "platform/log.h"
#include "said.h"
#include "state_lock.h"
#include "template_json.h"

namespace platen {
namespace {

constexpr const char* kSource = "mailbox_upkeep.cpp";
constexpr const char* kReloadKey = "services[templatePool].localUpdating";
constexpr const char* kUpkeepSetting = "webUpdate";

struct WarningWords {
  std::string_view line;  // how it begins
  Sentence words;
};
constexpr WarningWords kWarnings[] = {
    {"Cfg Srv - Was unable to set value for", Sentence("A setting could not be stored.")},
    {"Could not copy mailbox template to public default!",
     Sentence("The template of the public folder could not be made.")},
    {"Unable to remove default public template!",
     Sentence("The template of the public folder could not be removed.")},
};

void observe(void* context, const LogLine& line) {
  const auto* row = std::ranges::find_if(kWarnings, [&](const WarningWords& warning) {
    return std::string_view(line.text).starts_with(warning.line);
  });
  if (row != std::end(kWarnings)) *static_cast<std::string*>(context) = said(row->words);
}

// The prompts of one template.
using Prompts = std::vector<std::string>;

Prompts read_prompts(const ParserModule& module, const std::string& path) {
  Prompts prompts;
  ModuleRequest request(module, {}, "");
  if (!request.open(path).empty()) return prompts;
  const Json found = template_json(module, request.record().parserTemplate);
  if (found.is_null()) return prompts;
  for (const Json& service : found["services"]) {
    if (service["name"] != "qvn_dscrpt_metadata") continue;
    for (const Json& invocation : service["invocations"]) {
      for (const Json& attribute : invocation["attributes"]) {
        if (attribute["name"] != "MetaDataPrompt") continue;
        for (const Json& value : attribute["values"]) prompts.push_back(value);
      }
    }
  }
  return prompts;
}

std::map<std::string, Prompts> read_all(const ParserModule& module) {
  std::map<std::string, Prompts> all;
  for (const std::string& folder : folder_names()) {
    all[folder] = read_prompts(module, folder_template(folder));
  }
  return all;
}

// Says which prompts of `from` are not in `in`, behind a blank; empty when all are.
std::string listed(const Sentence& words, const Prompts& from, const Prompts& in) {
  std::string names;
  for (const std::string& prompt : from) {
    if (std::ranges::find(in, prompt) != in.end()) continue;
    names.append(names.empty() ? "\"" : ", \"").append(prompt).append("\"");
  }
  return names.empty() ? "" : " " + said(words, names);
}

std::string changes(const std::map<std::string, Prompts>& before,
                    const std::map<std::string, Prompts>& after) {
  std::string lines;
  const Prompts none;
  for (const auto& [folder, prompts] : after) {
    const auto old = before.find(folder);
    const bool is_new = old == before.end();
    const std::string text = (is_new ? " " + said("made.") : "") +
                             listed(Sentence("added {1}."), prompts, is_new ? none : old->second) +
                             listed(Sentence("removed {1}."), is_new ? none : old->second, prompts);
    if (!text.empty()) lines.append(folder).append(".KTP:").append(text).append("\n");
  }
  for (const auto& [folder, prompts] : before) {
    if (!after.contains(folder))
      lines.append(folder).append(".KTP: ").append(said("removed.")).append("\n");
  }
  return lines.empty() ? said("No template had to change.") + "\n" : lines;
}

bool is_due() {
  bool_t due = FALSE;
  Cfg_GetBoolAttrValue(mailbox_key(kUpkeepSetting).c_str(), &due);
  return due != FALSE;
}

UpkeepResult run_locked(const ParserModule& module) {
  const std::map<std::string, Prompts> before = read_all(module);
  const long reloads = configuration_writes(kReloadKey);
  UpkeepResult result;
  {
    ModuleRequest request(module, {}, "");
    const MailboxWarning warning;
    std::string no_argument;
    module.upkeep_function("HTTP_Parser_Update_Templates_fn")(&request.record(),
                                                              no_argument.data());
    result.failure = warning.text();
    for (const std::string& failure : request.take_failures()) result.failure += "\n" + failure;
  }
  result.summary = changes(before, read_all(module));
  result.summary += configuration_writes(kReloadKey) > reloads
                        ? said("The device was asked to load its templates again.")
                        : said("No reload of the templates was needed.");
  return result;
}

}  // namespace

MailboxWarning::MailboxWarning() { set_log_observer(observe, &text_); }

MailboxWarning::~MailboxWarning() { set_log_observer(nullptr, nullptr); }

bool begin_upkeep() {
  return Cfg_SetBoolAttrValue(mailbox_key(kUpkeepSetting).c_str(), TRUE) == CFG_OK;
}

UpkeepResult run_upkeep(const ParserModule& module, const std::string& state_file) {
  const StateLock lock(state_file);
  if (!lock.error().empty()) return {said("The templates were left as they are."), lock.error()};
  return run_locked(module);
}

void resume_upkeep(const ParserModule& module, const std::string& state_file) {
  if (!is_due()) return;
  const Speaking for_the_log(kDefaultLanguage);
  const StateLock lock(state_file);
  if (!lock.error().empty() || !is_due()) return;
  const UpkeepResult result = run_locked(module);
  Log_Entry(LOG_LEVEL_NOTICE, kSource, __LINE__,
            "The mailbox's templates were left out of line and are in line again: %s%s",
            result.summary.c_str(), result.failure.c_str());
}

}  // namespace platen
