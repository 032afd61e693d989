// The table of the host's forms.
// SPDX-License-Identifier: MIT
#include "host_forms.h"

#include <algorithm>
#include <iterator>

#include "bring_back.h"
#include "device/phrases.h"
#include "module_forms.h"
#include "next_page.h"
#include "page_views.h"
#include "query.h"
#include "said.h"
#include "template_exchange.h"

namespace platen {
namespace {

constexpr const char* kStartPage = "/index.html";
constexpr const char* kPasswordPage = "/password.html";
constexpr const char* kNextPage = "NextPage";

std::string value(const Post& post, std::string_view name) {
  return field_value(post.fields, name);
}

// Where a login leads: the form says so, or the address of the page that it came from.
std::string page_after_login(const Post& post) {
  std::vector<Field> query;
  std::string path;
  std::string fault;
  std::string asked;
  if (decode_target(post.page, &path, &query, &fault)) {
    const auto field = std::ranges::find(query, kNextPage, &Field::first);
    if (field != query.end()) asked = field->second;
  }
  return next_page(post, is_local_path(asked) ? asked : kStartPage);
}

// What was typed in an earlier session moves on to the new one, and is shown by the page that it
// was for.
Outcome begin_session(const std::string& account, const std::string& page, Visit* visit) {
  const std::string kept = PageViews::take_kept(page, visit);
  visit->log_in(account);
  if (!kept.empty()) PageViews::keep(page, kept, visit);
  if (visit->must_change())
    return success(said("Choose a password of your own first."), kPasswordPage);
  if (kept.empty()) return success("", page);
  return success(
      said("You are logged in again. What you had typed stands here; it is not sent yet."), page);
}

Outcome log_in(const Post& post, const HostFormContext& context) {
  const LoginResult login = context.accounts.authenticate(
      value(post, "name"), value(post, "password"), context.visit.address());
  switch (login.outcome) {
    case LoginResult::Outcome::wait:
      return too_many_tries(login.wait_seconds);
    case LoginResult::Outcome::wrong:
      return refusal(403, said("The name or the password is not right. Type both again."),
                     "password");
    case LoginResult::Outcome::disabled:
      return refusal(403, said("This account is disabled. Ask an administrator to enable it."),
                     "name");
    case LoginResult::Outcome::right:
      break;
  }
  return begin_session(login.account.name, page_after_login(post), &context.visit);
}

Outcome log_out(const Post& post, const HostFormContext& context) {
  context.mailbox.close_folders(context.visit);
  context.visit.log_out();
  return success(said("You are logged out."), next_page(post, kStartPage));
}

Outcome change_password(const Post& post, const HostFormContext& context) {
  if (value(post, "new") != value(post, "repeat")) {
    return refusal(422, said("The two new passwords differ. Type the same one twice."), "repeat");
  }
  const Visit& visit = context.visit;
  const PasswordChange change =
      context.accounts.change_password(visit.account().name, value(post, "old"), value(post, "new"),
                                       visit.address(), visit.cookie());
  if (change.wait_seconds > 0) return too_many_tries(change.wait_seconds);
  if (!change.fault.empty()) return refusal(422, change.fault);
  return success(said("Your password is changed."), next_page(post, kStartPage));
}

struct AccountChange {
  std::string_view word;
  std::string (*make)(const Post& post, Accounts& accounts, std::string* password);
  Sentence notice;
};

constexpr AccountChange kAccountChanges[] = {
    {"add",
     [](const Post& post, Accounts& accounts, std::string* password) {
       return accounts.add(value(post, "name"),
                           account_role(value(post, "role")).value_or(Role::user), password);
     },
     Sentence("The account \"{1}\" is added.")},
    {"reset",
     [](const Post& post, Accounts& accounts, std::string* password) {
       return accounts.reset(value(post, "name"), password);
     },
     Sentence("The account \"{1}\" has a new password.")},
    {"disable",
     [](const Post& post, Accounts& accounts, std::string*) {
       return accounts.set_disabled(value(post, "name"), true);
     },
     Sentence("The account \"{1}\" is disabled.")},
    {"enable",
     [](const Post& post, Accounts& accounts, std::string*) {
       return accounts.set_disabled(value(post, "name"), false);
     },
     Sentence("The account \"{1}\" is enabled.")},
};

Outcome change_account(const Post& post, const HostFormContext& context) {
  const auto* change =
      std::ranges::find(kAccountChanges, value(post, "what"), &AccountChange::word);
  std::string password;
  const std::string fault = change->make(post, context.accounts, &password);
  if (!fault.empty()) return refusal(422, fault, "name");
  std::string notice = said(change->notice, value(post, "name"));
  if (!password.empty()) {
    notice += " " + said(
                        "Its password is {1} and is shown this once; it must be changed at the "
                        "first login.",
                        password);
    wipe(&password);
  }
  return success(std::move(notice));
}

Outcome rename(const Post& post, const HostFormContext& context) {
  return rename_template(context.module, post, context.visit);
}

Outcome upload(const Post& post, const HostFormContext& context) {
  return upload_template(post, context.module);
}

Outcome choose_language(const Post& post, const HostFormContext& context) {
  const std::string code = value(post, "language");
  const std::vector<std::string> installed = languages();
  if (std::ranges::find(installed, code) == installed.end()) {
    return refusal(422, said("The language \"{1}\" is not installed; choose another.", code),
                   "language");
  }
  context.visit.choose_language(code);
  return success("");
}

Outcome bring_version_back(const Post& post, const HostFormContext& context) {
  return bring_back(post, context.module, context.history);
}

struct HostForm {
  std::string_view path;
  Outcome (*run)(const Post& post, const HostFormContext& context);
};

constexpr HostForm kHostForms[] = {
    {"/do/login", log_in},
    {"/do/logout", log_out},
    {"/do/password", change_password},
    {"/do/account", change_account},
    {"/do/rename", rename},
    {"/do/language", choose_language},
    {"/do/bring-back", bring_version_back},
    {"/do/upload", upload},
};

}  // namespace

Outcome run_host_form(const Post& post, const HostFormContext& context) {
  return std::ranges::find(kHostForms, post.form.path, &HostForm::path)->run(post, context);
}

}  // namespace platen
