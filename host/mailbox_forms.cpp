// The table of the mailbox's forms, and what each does.
// SPDX-License-Identifier: MIT
#include "mailbox_forms.h"

#include <algorithm>
#include <filesystem>

#include "field_rules.h"
#include "mailbox_upkeep.h"
#include "module_forms.h"
#include "module_request.h"
#include "next_page.h"
#include "platform/configapi.h"
#include "said.h"

namespace platen {
namespace {

namespace fs = std::filesystem;
using Context = MailboxFormContext;

constexpr const char* kNextPage = "NextPage";
constexpr const char* kSid = "sid";
constexpr std::string_view kFactoryTemplate = "/tmp/template/pool/factory/MAILBOX.KTP";
constexpr std::string_view kRightPin = "/mailbox/folder.php?";
constexpr std::string_view kWrongJobPassword = "/mailbox/action.php?";

std::string value(const Post& post, std::string_view name) {
  return field_value(post.fields, name);
}

std::string handler_of(const Post& post) {
  return std::string(post.form.path.substr(post.form.path.rfind('/') + 1));
}

Outcome no_folder(const std::string& name, const std::string& field) {
  return refusal(422, said("There is no folder \"{1}\".", name), field);
}

// The posted fields for a handler that checks a password, with one session id and one next page,
// both the host's.
std::vector<Field> checked_fields(const Post& post, const std::string& sid) {
  std::vector<Field> fields;
  for (const FormField& field : post.fields) {
    if (field.name == "token" || field.name == kNextPage || field.name == kSid) continue;
    fields.emplace_back(field.name, field.value);
  }
  fields.emplace_back(kSid, sid);
  fields.emplace_back(kNextPage, "");
  return fields;
}

// Calls a handler that checks a password. Returns the next page that it has chosen.
std::string call_check(const Context& context, const Post& post, const std::string& sid) {
  ModuleRequest request(context.module, checked_fields(post, sid), context.visit.language());
  RequestRecord& record = request.record();
  context.module.form_handler(handler_of(post))(&record, record.entries, record.num_entries);
  const char* chosen = record.entries[record.num_entries - 1].val;
  return chosen == nullptr ? "" : chosen;
}

// A check that is slowed down: those who guess wait longer and longer.
struct SlowedCheck {
  std::string subject;
  const char* wrong;  // what to note of a try that fails
  bool (*is_right)(std::string_view next_page);
  void (*succeed)(const Post& post, const Context& context);
};

Outcome run_check(const SlowedCheck& check, const Post& post, const Context& context) {
  Visit& visit = context.visit;
  Throttle& throttle = context.visitors.throttle;
  const int64_t seconds = throttle.begin(check.subject, visit.address());
  if (seconds > 0) return too_many_tries(seconds);
  const std::string cookie = visit.session_cookie();
  const std::string next = call_check(context, post, context.visitors.grants.sid(cookie));
  Outcome outcome = success("", encode_address(next));
  if (!check.is_right(next)) {
    outcome.wrong = check.wrong;
    return outcome;
  }
  throttle.succeeded(check.subject, visit.address());
  visit.open_session(cookie);
  check.succeed(post, context);
  return outcome;
}

Outcome check_pin(const Post& post, const Context& context) {
  const std::string folder = value(post, "name");
  if (!folder_exists(folder)) return no_folder(folder, "name");
  return run_check({"folder:" + folder, "the PIN is wrong",
                    [](std::string_view next) { return next.starts_with(kRightPin); },
                    [](const Post&, const Context&) {}},
                   post, context);
}

JobAction job_action(const Post& post) {
  return {value(post, "name"), value(post, "subf"), value(post, "file"), value(post, "action")};
}

Outcome ask_for_pin(const std::string& folder) {
  Outcome outcome = success("", pin_page(folder));
  outcome.wrong = "the folder is not open";
  return outcome;
}

// Nothing when the visitor may name the folder.
std::optional<Outcome> refuse_folder(const std::string& folder, const Context& context) {
  if (!folder_exists(folder)) return no_folder(folder, "name");
  if (context.mailbox.is_open(folder, context.visit)) return std::nullopt;
  return ask_for_pin(folder);
}

Outcome check_job_password(const Post& post, const Context& context) {
  const std::string folder = value(post, "name");
  if (auto refused = refuse_folder(folder, context)) return *refused;
  return run_check(
      {"jobs:" + folder, "the job password is wrong",
       [](std::string_view next) { return !next.starts_with(kWrongJobPassword); },
       [](const Post& right, const Context& at) { at.mailbox.grant(job_action(right), at.visit); }},
      post, context);
}

Outcome remove_posted_job(const Post& post, const JobAction& job) {
  const std::string fault = remove_job({job.folder, job.subf, job.file});
  const std::string& name = job.subf.empty() ? job.file : job.subf;
  if (!fault.empty())
    return refusal(500, said("The job \"{1}\" cannot be deleted: {2}.", name, fault));
  return success(said("The job \"{1}\" is deleted.", name),
                 next_page(post, folder_page(job.folder)));
}

Outcome act_on_job(const Post& post, const Context& context) {
  const JobAction job = job_action(post);
  if (auto refused = refuse_folder(job.folder, context)) return *refused;
  const bool deletes = job.action == "del";
  const std::string path = job_file({job.folder, job.subf, job.file});
  if (!deletes && path.empty()) {
    return refusal(404, said("The job has no file \"{1}\" any more.", job.file), "file");
  }
  if (!context.mailbox.take_action(job, context.visit)) {
    return refusal(403, said("This needs the job's password. Open the job and type it there."));
  }
  if (deletes) return remove_posted_job(post, job);
  Outcome outcome = success("");
  outcome.file = path;
  return outcome;
}

Outcome finish(const Context& context, const std::string& done, const std::string& next = "") {
  return with_upkeep(success(done, next), context.module, context.visitors.database.file());
}

// Stores a PIN with the module's handler, which tells a failure by a line in the log alone.
bool store_pin(const Context& context, const Post& post, const char* folder, const char* pin) {
  ModuleRequest request(context.module, {{folder, value(post, folder)}, {pin, value(post, pin)}},
                        context.visit.language());
  RequestRecord& record = request.record();
  const MailboxWarning warning;
  context.module.silent_form_handler(handler_of(post))(&record, record.entries, record.num_entries);
  return warning.text().empty();
}

Outcome change_pin(const Post& post, const Context& context, const char* folder_field,
                   const char* pin_field) {
  const std::string folder = value(post, folder_field);
  const bool clears = value(post, pin_field).empty();
  if (value(post, "repeat") != value(post, pin_field)) {
    return refusal(422, said("The two PINs differ. Type the same one twice."), "repeat");
  }
  if (!begin_upkeep() || !store_pin(context, post, folder_field, pin_field) ||
      !context.mailbox.close_folder(folder)) {
    return not_stored();
  }
  return finish(
      context, clears
                   ? said("The PIN of the folder \"{1}\" is removed: the folder is public.", folder)
                   : said("The PIN of the folder \"{1}\" is changed.", folder));
}

Outcome set_pin(const Post& post, const Context& context) {
  const std::string folder = value(post, "saUser");
  return folder_exists(folder) ? change_pin(post, context, "saUser", "saPasswd")
                               : no_folder(folder, "saUser");
}

// A visitor changes the PIN of the folder that the session has opened with it.
Outcome change_own_pin(const Post& post, const Context& context) {
  const std::string folder = value(post, "unsafeUser");
  if (!folder_exists(folder)) return no_folder(folder, "unsafeUser");
  if (!Mailbox::is_private(folder)) {
    return refusal(403,
                   said("The folder \"{1}\" has no PIN; an administrator may give it one.", folder),
                   "unsafeUser");
  }
  if (!context.mailbox.is_open(folder, context.visit)) return ask_for_pin(folder);
  if (value(post, "unsafePasswd").empty()) {
    return refusal(422, said("The new PIN is empty; only an administrator may remove it."),
                   "unsafePasswd");
  }
  Outcome outcome = change_pin(post, context, "unsafeUser", "unsafePasswd");
  if (outcome.done()) outcome.next_page = pin_page(folder);
  return outcome;
}

// Makes the folder's template from another one.
Outcome copy_folder_template(const Context& context, std::string_view from,
                             const std::string& folder) {
  return call_form_handler(
      context.module, "HTTP_Parser_Copy_fn",
      {{"ParserFilename", std::string(from)}, {"CopyParserFilenameMailbox", folder + ".KTP"}},
      context.visit);
}

Outcome delete_folder_template(const Context& context, const std::string& folder) {
  return call_form_handler(context.module, "HTTP_Parser_Delete_fn",
                           {{"ParserFilename", folder_template(folder)}}, context.visit);
}

Outcome refuse_spool(const std::string& folder, const std::string& cause) {
  return refusal(
      500, said("The directory of the folder \"{1}\" cannot be changed: {2}.", folder, cause));
}

// Whatever is left of an earlier folder of that name must not show in the new one.
std::optional<Outcome> refuse_new_folder(const std::string& folder, const std::string& field) {
  const std::string fault = value_fault({"", Kind::folder, kFolderLimit}, folder);
  if (!fault.empty()) return refusal(422, said("The folder's name {1}.", fault), field);
  std::error_code unknown;
  if (!folder_exists(folder) && !fs::exists(folder_directory(folder), unknown)) return std::nullopt;
  return refusal(409, said("There is a folder \"{1}\" already. Choose another name.", folder),
                 field);
}

Outcome create_folder(const Post& post, const Context& context) {
  const std::string folder = value(post, "name");
  if (auto refused = refuse_new_folder(folder, "name")) return *refused;
  if (!begin_upkeep() || Cfg_SetAttrValue(pin_key(folder).c_str(), "") != CFG_OK) {
    return not_stored();
  }
  std::error_code fault;
  fs::create_directories(folder_directory(folder), fault);
  if (fault) return refuse_spool(folder, fault.message());
  const Outcome copied = copy_folder_template(context, kFactoryTemplate, folder);
  return copied.done() ? finish(context, said("The folder \"{1}\" is made.", folder)) : copied;
}

// The jobs move only once the new name has the PIN, and the old PIN goes last: at no moment do they
// lie in a public folder.
Outcome move_folder(const Context& context, const std::string& from, const std::string& to) {
  ConfigAVP_t pin = "";
  const int status = Cfg_GetAttrValue(pin_key(from).c_str(), pin, sizeof pin);
  if ((status != CFG_OK && status != CFG_NO_VALUE) ||
      Cfg_SetAttrValue(pin_key(to).c_str(), pin) != CFG_OK || !context.mailbox.close_folder(from)) {
    return not_stored();
  }
  Outcome outcome = copy_folder_template(context, folder_template(from), to);
  if (!outcome.done()) return outcome;
  std::error_code fault;
  fs::rename(folder_directory(from), folder_directory(to), fault);
  if (fault && fault != std::errc::no_such_file_or_directory) {
    return refuse_spool(from, fault.message());
  }
  outcome = delete_folder_template(context, from);
  if (!outcome.done()) return outcome;
  if (Cfg_SetAttrValue(pin_key(from).c_str(), "") != CFG_OK) return not_stored();
  return finish(context, said("The folder \"{1}\" is now called \"{2}\".", from, to));
}

Outcome rename_folder(const Post& post, const Context& context) {
  const std::string folder = value(post, "name");
  const std::string next = value(post, "newName");
  if (next.empty()) return refusal(422, said("The new name is missing; fill it in."), "newName");
  if (!folder_exists(folder)) return no_folder(folder, "name");
  if (auto refused = refuse_new_folder(next, "newName")) return *refused;
  return begin_upkeep() ? move_folder(context, folder, next) : not_stored();
}

// The PIN goes last: what is left of the folder after a failure stays private.
Outcome delete_folder(const Post& post, const Context& context) {
  const std::string folder = value(post, "name");
  if (!folder_exists(folder)) return no_folder(folder, "name");
  const size_t jobs = list_jobs(folder).size();
  if (jobs > 0 && value(post, "jobs") != "delete") {
    return refusal(
        409,
        jobs == 1 ? said("The folder \"{1}\" still has 1 job; say that it goes with it.", folder)
                  : said("The folder \"{1}\" still has {2} jobs; say that they go with it.", folder,
                         jobs),
        "jobs");
  }
  if (!begin_upkeep() || !context.mailbox.close_folder(folder)) return not_stored();
  Outcome deleted = delete_folder_template(context, folder);
  if (!deleted.done()) return deleted;
  std::error_code fault;
  fs::remove_all(folder_directory(folder), fault);
  if (fault) return refuse_spool(folder, fault.message());
  if (Cfg_SetAttrValue(pin_key(folder).c_str(), "") != CFG_OK) return not_stored();
  return finish(context, said("The folder \"{1}\" is deleted.", folder));
}

Outcome change_folder(const Post& post, const Context& context) {
  const std::string what = value(post, "what");
  if (what == "create") return create_folder(post, context);
  if (value(post, "name") == kPublicFolder) {
    return refusal(422, said("The public folder comes and goes with its setting."), "name");
  }
  return what == "rename" ? rename_folder(post, context) : delete_folder(post, context);
}

Outcome change_settings(const Post& post, const Context& context) {
  if (!begin_upkeep()) return not_stored();
  for (const char* name : kMailboxSettings) {
    const bool_t chosen = value(post, name) == "TRUE" ? TRUE : FALSE;
    if (Cfg_SetBoolAttrValue(mailbox_key(name).c_str(), chosen) != CFG_OK) return not_stored();
  }
  return finish(context, said("The settings are stored."));
}

struct MailboxForm {
  std::string_view path;
  Outcome (*run)(const Post& post, const Context& context);
};

constexpr MailboxForm kForms[] = {
    {"/form/HTTP_Parser_Verify_Mbox_Password_fn", check_pin},
    {"/form/HTTP_Parser_Verify_Job_Password_fn", check_job_password},
    {"/form/HTTP_Parser_Mbox_Set_Pass_SA_fn", set_pin},
    {"/form/HTTP_Parser_Mbox_Set_Pass_Usr_fn", change_own_pin},
    {"/do/job", act_on_job},
    {"/do/folder", change_folder},
    {"/do/mailbox-settings", change_settings},
};

}  // namespace

Outcome not_stored() {
  return refusal(500, said("The settings cannot be written; the log says why. Try again."));
}

Outcome with_upkeep(Outcome done, const ParserModule& module, const std::string& state_file) {
  const UpkeepResult upkeep = run_upkeep(module, state_file);
  done.text += "\n" + upkeep.summary;
  if (upkeep.failure.empty()) return done;
  return refusal(
      500, done.text + "\n" +
               said("Not all templates are in line: {1} Save the settings again.", upkeep.failure));
}

std::optional<Outcome> run_mailbox_form(const Post& post, const Context& context) {
  const auto* form = std::ranges::find(kForms, post.form.path, &MailboxForm::path);
  if (form == std::end(kForms)) return std::nullopt;
  return form->run(post, context);
}

}  // namespace platen
