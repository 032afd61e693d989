// What a request may ask for, decided before any page, parser function or form handler runs.
// SPDX-License-Identifier: MIT
//
// Everything that the tables of policy.cpp do not allow is refused: they are the whole policy, to
// be read from the top. Handlers and parser functions check little themselves, and a query field
// reaches the same functions as a posted one.
#ifndef HOST_POLICY_H_
#define HOST_POLICY_H_

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "accounts.h"
#include "field_rules.h"
#include "form_body.h"
#include "http_message.h"

namespace platen {

// The pools of the copies that forms make.
inline constexpr std::string_view kWebPool = "/tmp/template/pool/web";
inline constexpr std::string_view kMailboxPool = "/tmp/template/pool/mailbox";

// The pools of the templates that everybody uses, and of those as shipped.
inline constexpr std::string_view kSystemPool = "/tmp/template/pool/system";
inline constexpr std::string_view kFactoryPool = "/tmp/template/pool/factory";

// The longest clone file.
inline constexpr size_t kLongestClone = kLongestFile;

// Whether the path is that of the protected default template.
bool is_default_template(std::string_view path);

// The longest name of a mailbox folder: the module takes a longer one for a public folder, and
// finds no password for its jobs.
inline constexpr size_t kFolderLimit = 62;

// Returns why the page or download at `path` may not get these query fields, as a sentence that names
// the field and says what to do; "" when it may.
std::string refuse_page_fields(std::string_view path, const std::vector<Field>& fields);

// The least role that a page or download is for. Pages that the table does not name only show: what is
// behind them is decided by their fields and forms.
Role page_role(std::string_view path);

// The least role that may change the templates of a directory, given with a slash at its end.
Role writer_role(std::string_view directory);

// What a form does to the template that it names; this decides who may send it for which pool.
enum class Act { none, edits, copies, deletes, renames, restores, brings_back, uploads };

// Fields of which a form needs one and no more; `needed` false: one or none.
struct Choice {
  std::string_view first;
  std::string_view second = "";
  bool needed = true;
};

// A form that may be posted.
struct FormRule {
  std::string_view path;
  Role role;  // the least that may send it
  Act act;
  std::span<const FieldRule> fields;  // each at most once, beside those that every form may have
  std::span<const FieldRule> run_fields;  // each once in every run that "Action" closes
  std::span<const Choice> choices;
};

// The row of a form, or null.
const FormRule* find_form(std::string_view path);

// Why a form is refused.
struct Refusal {
  int status = 0;
  std::string text;   // a sentence that says what to do
  std::string field;  // the field that is at fault; empty when none is
};

// Judges the fields of a form from somebody of that role, who may send the form as such.
std::optional<Refusal> refuse_form(const FormRule& form, const std::vector<FormField>& fields,
                                   Role role);

// Whether a field of the form is never shown again: its token and passwords.
bool is_withheld(const FormRule& form, std::string_view field);

// The value of the first field of that name, or "".
std::string field_value(const std::vector<FormField>& fields, std::string_view name);

// The template that a form starts from, as a full path; "" when it names none.
std::string source_path(const FormRule& form, const std::vector<FormField>& fields);

// The file that a copy, rename, restore or upload makes, as a full path; "" when the form makes none.
// Requires: fields that refuse_form() lets through.
std::string destination_path(const FormRule& form, const std::vector<FormField>& fields);

}  // namespace platen

#endif  // HOST_POLICY_H_
