// Makes, checks and applies clone files for administrators.
// SPDX-License-Identifier: MIT
#include "clone_forms.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <set>
#include <sstream>

#include "clone_apply.h"
#include "clone_maker.h"
#include "clone_summary.h"
#include "device/configuration.h"
#include "downloads.h"
#include "mailbox.h"
#include "mailbox_upkeep.h"
#include "next_page.h"
#include "platform/log.h"
#include "said.h"
#include "state_lock.h"

namespace platen {
namespace {

using Context = CloneContext;

constexpr const char* kSource = "clone_forms.cpp";
constexpr const char* kClonePage = "/clone.html";

// The groups of the device and what they hold.
struct Groups {
  CloneMenu menu;
  CloneContents contents;
  std::string fault;  // why the contents are not known, as a sentence for the user
};

Groups read_groups(const Context& context) {
  Groups groups;
  groups.menu = read_clone_menu(context.module, context.visit.language());
  std::string error;
  if (groups.contents.load(clone_contents_file(), &error)) return groups;
  Log_Entry(LOG_LEVEL_ERROR, kSource, __LINE__, "%s", error.c_str());
  groups.fault = said("The device does not tell what its groups hold: {1}", error);
  return groups;
}

// The numbers of a text that are separated by blanks; -1 for a word that is none.
std::set<int> numbers_of(const std::string& text) {
  std::set<int> numbers;
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    int number = 0;
    const char* end = word.data() + word.size();
    const auto [rest, fault] = std::from_chars(word.data(), end, number);
    numbers.insert(fault == std::errc() && rest == end ? number : -1);
  }
  return numbers;
}

// ---- Making a file. ----

std::string left_out_text(const CloneDocument& document) {
  std::string text;
  for (const LeftOutTemplate& file : document.left_out) {
    const std::string name = file_name_of(valid_utf8(file.path));
    text += "\n" + (file.reason.starts_with(name) ? "" : name + ": ") + valid_utf8(file.reason);
  }
  return text;
}

Outcome send_file(const CloneDocument& document) {
  const std::string text = clone_text(document);
  if (text.size() > kLongestClone) {
    return refusal(422, said("These groups are too much for one clone file. Choose fewer of them."),
                   "groups");
  }
  Outcome outcome = success("");
  outcome.response =
      attachment("clone-" + document.made.substr(0, 10) + ".json", "application/json", text);
  return outcome;
}

Outcome make_file(const Post& post, const Context& context) {
  const Groups groups = read_groups(context);
  if (!groups.fault.empty()) return refusal(500, groups.fault);
  const std::set<int> chosen = numbers_of(field_value(post.fields, "groups"));
  if (chosen.empty()) return refusal(422, said("Choose what is to be cloned."), "groups");
  if (!std::ranges::includes(groups.menu.tokens(), chosen)) {
    return refusal(409, said("The groups have changed. Load the page again."), "groups");
  }
  std::string fault;
  CloneDocument document = make_clone(context.module, groups.contents, chosen, &fault);
  if (!fault.empty()) return refusal(500, fault);
  if (!document.left_out.empty() && field_value(post.fields, "leaveOut") != "yes") {
    return refusal(409,
                   said("Some templates cannot be cloned. Mend them, or say that they are left "
                        "out.") +
                       left_out_text(document),
                   "leaveOut");
  }
  if (document.templates.empty() && document.settings.empty()) {
    return refusal(422, said("What you have chosen is empty on this device."), "groups");
  }
  for (const int token : chosen) {
    document.groups.push_back({token, groups.menu.name_of(token)});
  }
  return send_file(document);
}

// ---- Reading a file in. ----

Outcome read_file_in(const Post& post, const Context& context) {
  const std::string text = field_value(post.fields, "file");
  if (text.empty()) return refusal(422, said("Choose a clone file."), "file");
  const Groups groups = read_groups(context);
  if (!groups.fault.empty()) return refusal(500, groups.fault);
  CloneDocument document;
  std::string fault = read_clone_text(text, &document);
  if (fault.empty()) {
    fault = check_clone({context.module, groups.contents, groups.menu}, document);
  }
  if (!fault.empty()) return refusal(422, fault, "file");
  const std::string id = context.visitors.uploads.keep(context.visit.cookie(), text);
  return success("", page_address(kClonePage, {{"upload", id}}));
}

// A file that was read in, compared with the device as it is now.
struct Comparison {
  CloneMenu menu;
  CloneDocument document;
  std::vector<CloneItem> items;
  std::string fault;  // why there is none, as a sentence for the user
};

Comparison compare_upload(const Context& context, const std::string& id) {
  Comparison result;
  const std::string text = context.visitors.uploads.find(context.visit.cookie(), id);
  if (text.empty()) {
    result.fault = said("This clone file is kept no longer. Read it in again.");
    return result;
  }
  const Groups groups = read_groups(context);
  const CloneTarget target = {context.module, groups.contents, groups.menu};
  result.menu = groups.menu;
  result.fault = groups.fault;
  if (result.fault.empty()) result.fault = read_clone_text(text, &result.document);
  if (result.fault.empty()) result.fault = check_clone(target, result.document);
  if (result.fault.empty()) result.items = compare_clone(target, result.document);
  return result;
}

// ---- Applying it. ----

// The chosen items; empty when one of them is none that can be applied.
std::vector<CloneItem> chosen_items(const std::vector<CloneItem>& items,
                                    const std::set<int>& numbers) {
  std::vector<CloneItem> chosen;
  for (const int number : numbers) {
    const auto index = static_cast<size_t>(number);
    if (number < 0 || index >= items.size() || !items[index].is_applicable()) return {};
    chosen.push_back(items[index]);
  }
  return chosen;
}

// Applies them under the lock that keeps other forms from changing names meanwhile.
Outcome apply_locked(const Post& post, const Context& context, CloneResult* result) {
  const StateLock lock(context.visitors.database.file());
  if (!lock.error().empty()) return refusal(500, lock.error());
  const Comparison now = compare_upload(context, field_value(post.fields, "upload"));
  if (!now.fault.empty()) return refusal(422, now.fault);
  if (clone_digest(now.items) != field_value(post.fields, "digest")) {
    return refusal(409,
                   said("The device has changed meanwhile. Look at the summary again; it shows "
                        "what is there now."));
  }
  const auto chosen = chosen_items(now.items, numbers_of(field_value(post.fields, "items")));
  if (chosen.empty()) return refusal(422, said("Choose what is to be taken over."), "items");
  *result = apply_clone(context.module, chosen);
  for (const CloneItem& item : chosen) {
    const bool is_done = std::ranges::find(result->done, item.name) != result->done.end();
    context.visit.record(context.visit.account().name, "clone-apply", item.name,
                         is_done ? "done" : "refused: not taken over");
  }
  return success("");
}

std::string listed(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += "\n- " + valid_utf8(name);
  return text;
}

// What was done, what was not, and what the upkeep has changed after it.
Outcome told(const CloneResult& result, const Context& context) {
  std::string upkeep;
  if (result.concerns_mailbox) {
    const UpkeepResult kept = run_upkeep(context.module, context.visitors.database.file());
    upkeep = "\n" + kept.summary + (kept.failure.empty() ? "" : "\n" + kept.failure);
  }
  const std::string done = result.done.empty()
                               ? said("Nothing was taken over.")
                               : said("Taken over from the clone file:") + listed(result.done);
  if (result.fault.empty()) {
    context.visitors.uploads.drop(context.visit.cookie());
    return success(done + upkeep, kClonePage);
  }
  return refusal(500, result.fault + "\n" + done + "\n" + said("Not taken over:") +
                          listed(result.missing) + upkeep);
}

Outcome apply_file(const Post& post, const Context& context) {
  CloneResult result;
  Outcome outcome = apply_locked(post, context, &result);
  return outcome.done() ? told(result, context) : outcome;
}

struct CloneForm {
  std::string_view path;
  Outcome (*run)(const Post& post, const Context& context);
};

constexpr CloneForm kForms[] = {
    {"/do/clone", make_file},
    {"/do/clone-read", read_file_in},
    {"/do/clone-apply", apply_file},
};

// ---- What pages show. ----

// How many templates and settings each token holds.
struct Holding {
  int templates = 0;
  int settings = 0;
};

std::map<int, Holding> count_contents(const CloneContents& contents) {
  std::map<int, Holding> counts;
  for (const std::string& path : contents.templates(contents.tokens())) {
    ++counts[contents.token_of_template(path)].templates;
  }
  for (const auto& setting :
       configuration_settings().value_or(std::vector<ConfigurationSetting>())) {
    ++counts[contents.token_of_setting(setting.key)].settings;
  }
  return counts;
}

Json entry_json(int token, const std::string& name, std::map<int, Holding>* counts) {
  return {{"token", token},
          {"name", name},
          {"templates", (*counts)[token].templates},
          {"settings", (*counts)[token].settings}};
}

}  // namespace

std::optional<Outcome> run_clone_form(const Post& post, const Context& context) {
  const auto* form = std::ranges::find(kForms, post.form.path, &CloneForm::path);
  if (form == std::end(kForms)) return std::nullopt;
  return form->run(post, context);
}

Json clone_menu_json(const Context& context) {
  if (context.visit.role() != Role::administrator) return nullptr;
  const Groups groups = read_groups(context);
  std::map<int, Holding> counts = count_contents(groups.contents);
  Json list = Json::array();
  for (const CloneGroup& group : groups.menu.groups) {
    Json entry = entry_json(group.token, group.name, &counts);
    entry["subs"] = Json::array();
    for (const CloneSubGroup& sub : group.subs) {
      entry["subs"].push_back(entry_json(sub.token, sub.name, &counts));
    }
    list.push_back(std::move(entry));
  }
  return {{"groups", std::move(list)},
          {"leftOut", groups.menu.left_out},
          {"fault", groups.fault.empty() ? Json() : Json(groups.fault)}};
}

Json clone_summary_json(const Context& context, const std::vector<Field>& query) {
  const auto id = std::ranges::find(query, "upload", &Field::first);
  if (context.visit.role() != Role::administrator || id == query.end()) return nullptr;
  const Comparison now = compare_upload(context, id->second);
  if (!now.fault.empty()) return nullptr;
  Json left_out = Json::array();
  for (const LeftOutTemplate& file : now.document.left_out) {
    left_out.push_back({{"name", file.path}, {"reason", file.reason}});
  }
  return {{"upload", id->second},
          {"digest", clone_digest(now.items)},
          {"made", now.document.made},
          {"items", clone_items_json(now.menu, now.document, now.items)},
          {"leftOut", std::move(left_out)}};
}

}  // namespace platen
