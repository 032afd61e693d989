// Calls of form handlers, and what their results mean.
// SPDX-License-Identifier: MIT
#include "module_forms.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <map>
#include <utility>

#include "device/log.h"
#include "module_request.h"
#include "new_invocations.h"
#include "out_of_date.h"
#include "platform/log.h"
#include "said.h"
#include "template_json.h"

namespace platen {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kFormPath = "/form/";
constexpr std::string_view kHostFields[] = {"token", "NextPage", "replace", "was"};

// What to tell where a handler gives no reason, by its last error line in the log.
struct ErrorWords {
  std::string_view line;
  Sentence words;
};
constexpr ErrorWords kErrorWords[] = {
    {"*** Filesize exceeded!", Sentence("The name of the file is too long; choose a shorter one.")},
    {"dfilename == NULL!", Sentence("The form names no template; open its page again.")},
    {"copyFrom == NULL", Sentence("The form names no template; open its page again.")},
    {"Filename not found in entries!",
     Sentence("The form names no template; open its page again.")},
    {"*** NULL filename!", Sentence("The form names no template; open its page again.")},
    {"*** Invalid template path!", Sentence("The file does not lie in a pool of templates.")},
    {"HTTP_Parser_Set called on default template without logging in!",
     Sentence("The default template can only be changed after a login.")},
    {"HTTP_Parser_Copy attempting to overwrite default template",
     Sentence("The default template cannot be replaced by a copy; choose another name.")},
    {"HTTP_Parser_Delete called on default template!",
     Sentence("The default template cannot be deleted.")},
};
constexpr Sentence kNotStored(
    "This could not be done; the file may be gone or protected. Load the page again.");

// Notes the last error that is logged until it is taken.
class LastError {
 public:
  LastError() { set_log_observer(&LastError::observe, this); }
  ~LastError() { set_log_observer(nullptr, nullptr); }
  LastError(const LastError&) = delete;
  LastError& operator=(const LastError&) = delete;

  std::string take() {
    set_log_observer(nullptr, nullptr);
    return std::move(text_);
  }

 private:
  static void observe(void* context, const LogLine& line) {
    if (line.level == LOG_LEVEL_ERROR) static_cast<LastError*>(context)->text_ = line.text;
  }

  std::string text_;
};

std::vector<Field> handler_fields(const std::vector<FormField>& fields) {
  std::vector<Field> entries;
  for (const FormField& field : fields) {
    if (std::ranges::find(kHostFields, field.name) != std::end(kHostFields)) continue;
    entries.emplace_back(field.name, field.value);
  }
  return entries;
}

std::string without_line_end(std::string text) {
  text.erase(text.find_last_not_of("\r\n") + 1);
  return text;
}

// The handler's own words, else those for its last error, and behind them what the store says.
std::string reason_text(std::string text, const std::string& last_error,
                        const std::vector<std::string>& failures) {
  if (text.empty()) {
    const auto* row = std::ranges::find(kErrorWords, last_error, &ErrorWords::line);
    text = said(row == std::end(kErrorWords) ? kNotStored : row->words);
  }
  for (const std::string& failure : failures) text += "\n" + failure;
  return text;
}

std::string_view file_name(std::string_view path) { return path.substr(path.rfind('/') + 1); }

std::string notice(Act act, const std::string& source, const std::string& destination) {
  switch (act) {
    case Act::edits:
      return destination.empty() ? said("Saved.")
                                 : said("Saved as \"{1}\".", file_name(destination));
    case Act::copies:
      return said("Copied to \"{1}\".", file_name(destination));
    case Act::deletes:
      return said("\"{1}\" is deleted.", file_name(source));
    case Act::renames:
      return said("\"{1}\" is now called \"{2}\".", file_name(source), file_name(destination));
    case Act::restores:
      return said("\"{1}\" is restored from the factory pool.", file_name(destination));
    case Act::brings_back:
    case Act::uploads:
    case Act::none:
      break;
  }
  return "";
}

// The attributes in the JSON of a template, by service, invocation and name: a form may name as many
// as it holds.
using AttributeIndex = std::map<std::array<std::string_view, 3>, const Json*>;

std::string_view name_of(const Json& object) {
  return object["name"].get_ref<const std::string&>();
}

AttributeIndex index_of(const Json& stored) {
  AttributeIndex index;
  for (const Json& service : stored["services"]) {
    for (const Json& invocation : service["invocations"]) {
      for (const Json& attribute : invocation["attributes"]) {
        index.try_emplace({name_of(service), name_of(invocation), name_of(attribute)}, &attribute);
      }
    }
  }
  return index;
}

std::optional<StoredAttribute> read_attribute(const AttributeIndex& index,
                                              const std::string& service,
                                              const std::string& invocation,
                                              const std::string& attribute) {
  const auto found = index.find({service, invocation, attribute});
  if (found == index.end()) return std::nullopt;
  const Json& held = *found->second;
  return StoredAttribute{held["values"], held["type"], held["compulsory"]};
}

Json shown_json(const std::optional<ShownAttribute>& shown) {
  if (!shown) return nullptr;
  return {{"value", valid_utf8(shown->value)},
          {"type", valid_utf8(shown->type)},
          {"compulsory", shown->compulsory}};
}

Json conflict_json(const EditConflict& conflict) {
  return {{"run", conflict.run},
          {"service", valid_utf8(conflict.service)},
          {"invocation", valid_utf8(conflict.invocation)},
          {"attribute", valid_utf8(conflict.attribute)},
          {"was", shown_json(conflict.was)},
          {"stored", shown_json(conflict.stored)},
          {"wanted", shown_json(conflict.wanted)}};
}

Outcome conflict_outcome(const std::vector<EditConflict>& conflicts) {
  Outcome outcome;
  outcome.status = 409;
  outcome.text = said(
      "Somebody else has changed the same settings meanwhile. Look at what is stored now, and save "
      "again to keep yours.");
  for (const EditConflict& conflict : conflicts) {
    outcome.conflicts.push_back(conflict_json(conflict));
  }
  return outcome;
}

// Makes an invocation in a template that is open and will not be saved. Returns its name, or "".
std::string make_invocation(const ParserModule& module, void* open_template,
                            const std::string& service) {
  std::array<char, sizeof(INVOCATION_STRUCT::szInvocationName)> name{};
  const int made = module.create_invocation(static_cast<TemplateObject*>(open_template),
                                            service.c_str(), name.data(), name.size());
  return made != 0 ? name.data() : "";
}

// Judges the edits of a form by what its source holds now.
Outcome review(const ParserModule& module, const Post& post, std::vector<FormField>* fields) {
  const std::string path = source_path(post.form, post.fields);
  ModuleRequest request(module, {}, "");
  if (const std::string error = request.open(path); !error.empty()) {
    return refusal(422, said("The template \"{1}\" cannot be opened. {2}", file_name(path), error));
  }
  const Json stored = template_json(module, request.record().parserTemplate);
  const AttributeIndex index = index_of(stored);
  EditReview review = review_edits(
      post.fields,
      [&](const std::string& service, const std::string& invocation, const std::string& attribute) {
        return read_attribute(index, service, invocation, attribute);
      });
  if (!review.fault.empty()) return refusal(422, review.fault, "was");
  if (!review.conflicts.empty()) return conflict_outcome(review.conflicts);
  NamedEdits named = name_new_invocations(review.fields, [&](const std::string& service) {
    return make_invocation(module, request.record().parserTemplate, service);
  });
  if (!named.fault.empty()) return refusal(422, named.fault, "NewInvocation");
  *fields = std::move(named.fields);
  return {};
}

// The handler does not say why a source cannot be copied.
Outcome with_source_fault(Outcome copied, const ParserModule& module, const std::string& source) {
  ModuleRequest request(module, {}, "");
  if (const std::string fault = request.open(source); !fault.empty()) copied.text += "\n" + fault;
  return copied;
}

}  // namespace

Outcome call_form_handler(const ParserModule& module, std::string_view name,
                          const std::vector<Field>& fields, const Visit& visit) {
  ModuleRequest request(module, fields, visit.language());
  RequestRecord& record = request.record();
  std::string login = visit.account().name;
  record.loginName = login.empty() ? nullptr : login.data();
  record.userIsAdmin = visit.role() == Role::administrator ? TRUE : FALSE;
  LastError last_error;
  const int result =
      module.form_handler(std::string(name))(&record, record.entries, record.num_entries);
  const std::string handlers_error = last_error.take();
  record.loginName = nullptr;
  const std::vector<std::string> failures = request.take_failures();
  if (result == 0 && failures.empty()) return {};
  const std::string reason =
      result == 0 ? said("Not everything was saved.") : without_line_end(record.Reason);
  return refusal(failures.empty() ? 422 : 500, reason_text(reason, handlers_error, failures));
}

Outcome run_module_form(const ParserModule& module, const Post& post, const Visit& visit) {
  const std::string source = source_path(post.form, post.fields);
  std::error_code unknown;
  if (post.form.act == Act::restores && !fs::exists(source, unknown)) {
    return refusal(422,
                   said("There is no factory template \"{1}\". Choose another.", file_name(source)),
                   "ParserFilename");
  }
  std::vector<FormField> fields = post.fields;
  if (post.form.act == Act::edits) {
    Outcome judged = review(module, post, &fields);
    if (!judged.done()) return judged;
  }
  Outcome outcome = call_form_handler(module, post.form.path.substr(kFormPath.size()),
                                      handler_fields(fields), visit);
  if (outcome.done()) {
    outcome.text = notice(post.form.act, source, destination_path(post.form, post.fields));
  } else if (post.form.act == Act::copies || post.form.act == Act::restores) {
    return with_source_fault(std::move(outcome), module, source);
  }
  return outcome;
}

Outcome rename_template(const ParserModule& module, const Post& post, const Visit& visit) {
  const std::string source = source_path(post.form, post.fields);
  const std::string destination = destination_path(post.form, post.fields);
  const bool in_mailbox_pool = source.starts_with(kMailboxPool);
  const Field from = {"ParserFilename", source};
  const Field to = {in_mailbox_pool ? "CopyParserFilenameMailbox" : "CopyParserFilename",
                    field_value(post.fields, "NewName")};
  Outcome outcome = call_form_handler(module, "HTTP_Parser_Copy_fn", {from, to}, visit);
  if (!outcome.done()) return with_source_fault(std::move(outcome), module, source);
  outcome = call_form_handler(module, "HTTP_Parser_Delete_fn", {from}, visit);
  if (!outcome.done()) {
    outcome.text = said("\"{1}\" was made, but \"{2}\" is still there.", file_name(destination),
                        file_name(source)) +
                   " " + outcome.text;
    return outcome;
  }
  outcome.text = notice(post.form.act, source, destination);
  return outcome;
}

std::vector<FormField> rebased_fields(const std::vector<FormField>& fields, const Json& conflicts) {
  std::vector<FormField> rebased;
  size_t run = 0;
  for (const FormField& field : fields) {
    const auto conflict =
        std::ranges::find_if(conflicts, [run](const Json& row) { return row["run"] == run; });
    const bool has_conflict = conflict != conflicts.end();
    if (has_conflict && field.name == "Action") {
      const Json& stored = (*conflict)["stored"];
      FormField was;
      was.name = "was";
      was.value = stored.is_null() ? "" : json_text(stored);
      rebased.push_back(std::move(was));
    }
    if (!has_conflict || field.name != "was") rebased.push_back(field);
    if (field.name == "Action") ++run;
  }
  return rebased;
}

}  // namespace platen
