// The checks of a post, in their order.
// SPDX-License-Identifier: MIT
#include "posts.h"

#include <sys/stat.h>

#include <algorithm>
#include <optional>
#include <utility>

#include "clone_forms.h"
#include "error_page.h"
#include "file_response.h"
#include "host_forms.h"
#include "mailbox_forms.h"
#include "mailbox_upkeep.h"
#include "module_forms.h"
#include "next_page.h"
#include "origin.h"
#include "post.h"
#include "said.h"
#include "state_lock.h"

namespace platen {
namespace {

constexpr FormLimits kLimits = {.bytes = kLongestBody, .fields = 4000, .name_bytes = 255};
constexpr std::string_view kHostForms = "/do/";

using Objection = std::optional<Outcome>;

// Whether the form puts a template from outside the pools of the device's users into one.
bool brings_template(const FormRule& form) {
  return form.act == Act::restores || form.act == Act::uploads;
}

// What an entry of the audit trail says was done: the form's name, and what is done of several things.
std::string action_of(const Post& post) {
  std::string action(post.form.path.substr(post.form.path.rfind('/') + 1));
  const auto rule = std::ranges::find(post.form.fields, "what", &FieldRule::name);
  const std::string what = field_value(post.fields, "what");
  if (rule != post.form.fields.end() && value_fault(*rule, what).empty()) action += ' ' + what;
  return action;
}

bool names_folder(const FormRule& form) {
  return std::ranges::any_of(form.fields, [](const FieldRule& rule) {
    return rule.name == "name" && rule.kind == Kind::entry;
  });
}

// What an entry of the audit trail is about: a template, a folder, or the account that is managed.
// Where one comes from elsewhere it is the one that changes.
std::string object_of(const Post& post) {
  if (post.form.role == Role::administrator || names_folder(post.form)) {
    for (const char* field : {"name", "saUser"}) {
      if (std::string name = field_value(post.fields, field); !name.empty()) return name;
    }
  }
  std::string folder = field_value(post.fields, "unsafeUser");
  if (!folder.empty()) return folder;
  const std::string brought =
      brings_template(post.form) ? destination_path(post.form, post.fields) : "";
  return brought.empty() ? source_path(post.form, post.fields) : brought;
}

// Forms that name no template and change settings, and by them templates of the mailbox.
constexpr std::string_view kSettingForms[] = {
    "/form/HTTP_Parser_Mbox_Set_Pass_SA_fn", "/form/HTTP_Parser_Mbox_Set_Pass_Usr_fn", "/do/folder",
    "/do/mailbox-settings", "/do/clone-apply"};

bool changes_state(const FormRule& form) {
  return form.act != Act::none ||
         std::ranges::find(kSettingForms, form.path) != std::end(kSettingForms);
}

}  // namespace

// One post on its way.
class PostRun {
 public:
  PostRun(const FormRule& form, const Request& request, const ParserModule& module,
          Visitors& visitors, Mailbox& mailbox, const TemplateHistory& history, Visit* visit)
      : request_(request),
        module_(module),
        visitors_(visitors),
        mailbox_(mailbox),
        history_(history),
        visit_(*visit),
        post_{form, {}, ""} {}

  // Passwords do not outlive their request.
  ~PostRun() {
    for (FormField& field : post_.fields) {
      if (is_withheld(post_.form, field.name)) wipe(&field.value);
    }
  }
  PostRun(const PostRun&) = delete;
  PostRun& operator=(const PostRun&) = delete;

  Outcome run() {
    constexpr Objection (PostRun::*kChecks[])() = {
        &PostRun::check_query, &PostRun::check_origin, &PostRun::decode, &PostRun::check_token,
        &PostRun::check_role,  &PostRun::check_fields, &PostRun::lock,   &PostRun::check_name,
    };
    for (const auto check : kChecks) {
      if (Objection refused = (this->*check)()) return *refused;
    }
    visit_.announce(action_of(post_), object_of(post_));
    return leads_to_mailbox() ? carry_out_with_upkeep() : carry_out();
  }

  const Post& post() const { return post_; }

  // Whether the login is shown instead of the form's page.
  bool needs_login() const { return needs_login_; }

  // What had been typed, as pages get it.
  Json posted(const Outcome& outcome) const {
    Json fields = Json::array();
    for (const FormField& field : rebased_fields(post_.fields, outcome.conflicts)) {
      if (field.is_file || is_withheld(post_.form, field.name)) continue;
      fields.push_back({{"name", valid_utf8(field.name)}, {"value", valid_utf8(field.value)}});
    }
    return {{"status", outcome.status},
            {"fields", std::move(fields)},
            {"conflicts", outcome.conflicts},
            {"field", valid_utf8(outcome.field)}};
  }

 private:
  Outcome carry_out() {
    if (auto outcome = run_mailbox_form(post_, {module_, mailbox_, visitors_, visit_})) {
      return *outcome;
    }
    if (auto outcome = run_clone_form(post_, {module_, visitors_, visit_})) return *outcome;
    if (post_.form.path.starts_with(kHostForms)) {
      return run_host_form(post_, {module_, visitors_.accounts, mailbox_, visit_, history_});
    }
    return run_module_form(module_, post_, visit_);
  }

  bool leads_to_mailbox() const {
    if (post_.form.act == Act::brings_back) {
      return source_path(post_.form, post_.fields).starts_with(kMailboxPool);
    }
    return brings_template(post_.form) &&
           destination_path(post_.form, post_.fields).starts_with(kMailboxPool);
  }

  Outcome carry_out_with_upkeep() {
    if (!begin_upkeep()) return not_stored();
    Outcome outcome = carry_out();
    const std::string& state_file = visitors_.database.file();
    if (outcome.done()) return with_upkeep(std::move(outcome), module_, state_file);
    resume_upkeep(module_, state_file);
    return outcome;
  }

  // Parser functions would find query fields as well as posted ones.
  Objection check_query() {
    if (request_.query.empty()) return std::nullopt;
    return refusal(400, said("The address of a form has no query fields."));
  }

  Objection check_origin() {
    const std::string fault = refuse_origin(request_);
    return fault.empty() ? std::nullopt : Objection(refusal(403, fault));
  }

  Objection decode() {
    const auto refused = decode_form(
        {request_.content_type, request_.content_length, request_.body}, kLimits, &post_.fields);
    return refused ? Objection(refusal(refused->status, refused->text)) : std::nullopt;
  }

  // A token of an earlier session still tells which page to show again.
  Objection check_token() {
    const std::string token = field_value(post_.fields, "token");
    const std::string page = claimed_page(token);
    if (is_local_path(page)) post_.page = page;
    const TokenCheck::Verdict verdict = visit_.check_token(token);
    if (verdict == TokenCheck::Verdict::right) return std::nullopt;
    needs_login_ = verdict == TokenCheck::Verdict::foreign && lacks_login();
    return refusal(403, needs_login_ ? login_reason() : explain(verdict));
  }

  Objection check_role() {
    if (lacks_login()) {
      needs_login_ = true;
      return refusal(403, login_reason());
    }
    if (visit_.role() < post_.form.role) {
      return refusal(403, said("Only an administrator may do this. Log in as one."));
    }
    const bool leads_out = post_.form.path == "/do/password" || post_.form.path == "/do/logout";
    if (!visit_.must_change() || leads_out) return std::nullopt;
    return refusal(403, said("Choose a password of your own first."));
  }

  Objection check_fields() {
    const auto refused = refuse_form(post_.form, post_.fields, visit_.role());
    if (!refused) return std::nullopt;
    return refusal(refused->status, refused->text, refused->field);
  }

  // A new name is free, what is stored is as it was judged, and no backup sees half of a form, until
  // it is done and audited: one at a time is.
  Objection lock() {
    if (!changes_state(post_.form)) return std::nullopt;
    lock_.emplace(visitors_.database.file());
    return lock_->error().empty() ? std::nullopt : Objection(refusal(500, lock_->error()));
  }

  // What exists is replaced only where the user has said so.
  Objection check_name() {
    const std::string path = destination_path(post_.form, post_.fields);
    struct stat status {};
    if (path.empty() || ::lstat(path.c_str(), &status) != 0 ||
        field_value(post_.fields, "replace") == "yes") {
      return std::nullopt;
    }
    return refusal(
        409,
        said("There is a template \"{1}\" already. Choose another name, or say that it is to "
             "be replaced.",
             path.substr(path.rfind('/') + 1)),
        "replace");
  }

  bool lacks_login() const {
    return visit_.role() == Role::anonymous && post_.form.role != Role::anonymous;
  }

  std::string login_reason() const {
    return (visit_.has_ended() ? said("Your session has ended.") : said("You are not logged in.")) +
           " " + said("Log in; what you typed is kept, and shown again then. It is not sent yet.");
  }

  const Request& request_;
  const ParserModule& module_;
  Visitors& visitors_;
  Mailbox& mailbox_;
  const TemplateHistory& history_;
  Visit& visit_;
  Post post_;
  bool needs_login_ = false;
  std::optional<StateLock> lock_;
};

namespace {

std::string result_of(const Outcome& outcome) {
  if (!outcome.done()) return "refused: " + outcome.text;
  return outcome.wrong.empty() ? "done" : "refused: " + outcome.wrong;
}

}  // namespace

Response Posts::answer(const FormRule& form, const Request& request, Visit* visit) {
  const std::string sender = visit->account().name;
  PostRun run(form, request, module_, visitors_, mailbox_, history_, visit);
  const Outcome outcome = run.run();
  visit->record(sender.empty() ? visit->account().name : sender, action_of(run.post()),
                object_of(run.post()), result_of(outcome));
  Response response = respond(run, outcome, visit);
  response.headers.insert(response.headers.end(), outcome.headers.begin(), outcome.headers.end());
  return response;
}

Response Posts::respond(const PostRun& run, const Outcome& outcome, Visit* visit) {
  const std::string& page = run.post().page;
  if (outcome.done()) {
    if (!outcome.text.empty()) visit->leave("notice", outcome.text);
    if (!outcome.file.empty()) return file_response(outcome.file);
    if (outcome.response) return *outcome.response;
    return redirection(outcome.next_page.empty() ? next_page(run.post(), page) : outcome.next_page);
  }
  if (page.empty())
    return error_response(outcome.status, outcome.text, said("Go back to the page of the form."));
  const Refused refused = {outcome.status, outcome.text, run.posted(outcome)};
  if (run.needs_login()) return views_.show_login(page, refused, visit);
  return views_.show_again(page, refused, visit);
}

}  // namespace platen
