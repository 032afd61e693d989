// The tables of pages, forms and pools, and how they are applied.
// SPDX-License-Identifier: MIT
#include "policy.h"

#include <algorithm>
#include <iterator>
#include <set>

#include "mailbox_spool.h"
#include "said.h"

namespace platen {
namespace {

constexpr size_t kPathLimit = 254;
constexpr size_t kNameLimit = 255;
constexpr size_t kAddressLimit = 2048;
constexpr size_t kSecretLimit = 128;
constexpr size_t kKibibyte = 1024;
constexpr size_t kValueLimit = 256 * kKibibyte;
constexpr size_t kJobLimit = 63;
constexpr size_t kSidLimit = 1063;
constexpr size_t kTokenLimit = 16 * kKibibyte;
constexpr size_t kNumbersLimit = 64 * kKibibyte;

// The query fields of pages. Each may be given once: of repeated fields some functions take the
// first and others the last.
constexpr FieldRule kPageFields[] = {
    {"ParserFilename", Kind::template_path, kPathLimit},
    {"TemplateDir", Kind::directory, kPathLimit},
    {"ServiceName", Kind::text, kNameLimit},
    {"InvocationName", Kind::text, kNameLimit},
    {"AttributeName", Kind::text, kNameLimit},
    {"AttributeType", Kind::text, kNameLimit},
    {"NextPage", Kind::text, kAddressLimit},
    {"version", Kind::entry, kNameLimit},
    {"name", Kind::entry, kFolderLimit},
    {"subf", Kind::optional_entry, kJobLimit},
    {"file", Kind::entry, kNameLimit},
    {"action", Kind::word, 3, "opn dnl del"},
    {"msg", Kind::word, 6, "tryagn"},
};

// A clone file that was read in.
constexpr FieldRule kClonePageFields[] = {{"upload", Kind::entry, kNameLimit}};

// What the audit trail is filtered by. A form leaves the fields that nobody fills in empty.
constexpr FieldRule kAuditFields[] = {
    {"login", Kind::text, kNameLimit},
    {"address", Kind::text, kNameLimit},
    {"action", Kind::text, kNameLimit},
    {"object", Kind::text, kNameLimit},
    {"outcome", Kind::optional_word, 7, "done refused"},
    {"from", Kind::optional_moment, 20},
    {"to", Kind::optional_moment, 20},
    {"page", Kind::optional_number, 5},
    {"format", Kind::optional_word, 5, "csv jsonl"},
};

constexpr FieldRule kTemplateFileFields[] = {
    {"ParserFilename", Kind::template_path, kPathLimit},
    {"version", Kind::entry, kNameLimit},
};

struct PageRule {
  std::string_view path;
  Role role;
  std::span<const FieldRule> fields = kPageFields;
};

// Pages and downloads that are not for everybody, or have query fields of their own. A page with a
// form that needs a login would be of no use without one.
constexpr PageRule kPages[] = {
    {"/edit.html", Role::user},
    {"/metadata.html", Role::user},
    {"/destinations.html", Role::user},
    {"/copy.html", Role::user},
    {"/rename.html", Role::user},
    {"/history.html", Role::user},
    {"/delete.html", Role::user},
    {"/password.html", Role::user},
    {"/accounts.html", Role::administrator},
    {"/mailbox/settings.php", Role::administrator},
    {"/restore.html", Role::administrator},
    {"/upload.html", Role::user},
    {"/download/template", Role::user, kTemplateFileFields},
    {"/audit.html", Role::administrator, kAuditFields},
    {"/download/audit", Role::administrator, kAuditFields},
    {"/status.html", Role::administrator},
    {"/clone.html", Role::administrator, kClonePageFields},
};

// The fields that every form may have. The page that a form came from is signed into its token; a
// "NextPage" that leads elsewhere than to this server is not followed.
constexpr FieldRule kEveryForm[] = {
    {"token", Kind::text, kTokenLimit},
    {"NextPage", Kind::text, kAddressLimit},
};

// An empty path would make the open fall back to a posted field, so that another template is edited
// than the one that was judged; the kinds of paths and names refuse it. The limits of the names of
// copies are the handlers' own.
constexpr FieldRule kEditFields[] = {
    {"ParserFilename", Kind::template_path, kPathLimit},
    {"DefaultParserFilename", Kind::template_path, kPathLimit},
    {"CopyParserFilename", Kind::file_name, 226},
    {"CopyParserFilenameMailbox", Kind::file_name, 221},
    {"replace", Kind::word, 3, "yes"},
};
constexpr FieldRule kEditRun[] = {
    {"ServiceName", Kind::text, kNameLimit},     {"InvocationName", Kind::text, kNameLimit},
    {"AttributeName", Kind::text, kNameLimit},   {"AttributeType", Kind::text, kNameLimit},
    {"AttributeValue", Kind::text, kValueLimit}, {"Compulsory", Kind::word, 5, "TRUE FALSE"},
    {"was", Kind::text, 2 * kValueLimit},        {"NewInvocation", Kind::text, kNameLimit},
    {"Action", Kind::word, 6, "update delete"},
};
constexpr FieldRule kDeleteFields[] = {{"ParserFilename", Kind::template_path, kPathLimit}};
constexpr FieldRule kRenameFields[] = {
    {"ParserFilename", Kind::template_path, kPathLimit},
    {"NewName", Kind::file_name, 221},
    {"replace", Kind::word, 3, "yes"},
};
constexpr FieldRule kRestoreFields[] = {
    {"ParserFilename", Kind::file_name, 227},
    {"CopyParserFilename", Kind::file_name, 228},
    {"CopyParserFilenameMailbox", Kind::file_name, 227},
    {"replace", Kind::word, 3, "yes"},
};
constexpr FieldRule kBringBackFields[] = {
    {"ParserFilename", Kind::template_path, kPathLimit},
    {"version", Kind::entry, kNameLimit},
    {"seen", Kind::text, kNameLimit},
};
constexpr FieldRule kUploadFields[] = {
    {"file", Kind::file, kLongestFile},
    {"pool", Kind::word, 7, "web mailbox system"},
    {"name", Kind::file_name, 221},
    {"replace", Kind::word, 3, "yes"},
};
constexpr FieldRule kLoginFields[] = {
    {"name", Kind::text, kNameLimit},
    {"password", Kind::secret, kSecretLimit},
};
constexpr FieldRule kPasswordFields[] = {
    {"old", Kind::secret, kSecretLimit},
    {"new", Kind::secret, kSecretLimit},
    {"repeat", Kind::secret, kSecretLimit},
};
constexpr FieldRule kAccountFields[] = {
    {"what", Kind::word, 7, "add reset disable enable"},
    {"name", Kind::text, kNameLimit},
    {"role", Kind::word, 13, "user administrator"},
};
constexpr FieldRule kLanguageFields[] = {{"language", Kind::text, 35}};

// The handlers take the session id and the next page from fields of these names: the host drops what
// was posted and adds its own.
constexpr FieldRule kFolderPinFields[] = {
    {"name", Kind::entry, kFolderLimit},
    {"pass", Kind::secret, kSecretLimit},
    {"sid", Kind::secret, kSidLimit},
};
constexpr FieldRule kJobPasswordFields[] = {
    {"name", Kind::entry, kFolderLimit},      {"subf", Kind::optional_entry, kJobLimit},
    {"file", Kind::entry, kNameLimit},        {"pass", Kind::secret, kSecretLimit},
    {"action", Kind::word, 3, "opn dnl del"}, {"sid", Kind::secret, kSidLimit},
};
constexpr FieldRule kSetPinFields[] = {
    {"saUser", Kind::folder, kFolderLimit},
    {"saPasswd", Kind::secret, kSecretLimit},
    {"repeat", Kind::secret, kSecretLimit},
};
constexpr FieldRule kChangePinFields[] = {
    {"unsafeUser", Kind::folder, kFolderLimit},
    {"unsafePasswd", Kind::secret, kSecretLimit},
    {"repeat", Kind::secret, kSecretLimit},
};
constexpr FieldRule kJobFields[] = {
    {"name", Kind::entry, kFolderLimit},
    {"subf", Kind::optional_entry, kJobLimit},
    {"file", Kind::entry, kNameLimit},
    {"action", Kind::word, 3, "dnl del"},
};
constexpr FieldRule kFolderFields[] = {
    {"what", Kind::word, 6, "create rename delete"},
    {"name", Kind::entry, kFolderLimit},
    {"newName", Kind::folder, kFolderLimit},
    {"jobs", Kind::word, 6, "delete"},
};
constexpr FieldRule kCloneFields[] = {
    {"groups", Kind::text, kNumbersLimit},
    {"leaveOut", Kind::word, 3, "yes"},
};
constexpr FieldRule kCloneReadFields[] = {{"file", Kind::file, kLongestClone}};
constexpr FieldRule kCloneApplyFields[] = {
    {"upload", Kind::entry, kNameLimit},
    {"digest", Kind::text, kNameLimit},
    {"items", Kind::text, kNumbersLimit},
};
constexpr FieldRule kMailboxFields[] = {
    {"promptOnPrivateScan", Kind::word, 5, "TRUE FALSE"},
    {"publicPasswordEnabled", Kind::word, 5, "TRUE FALSE"},
    {"scanToPublic", Kind::word, 5, "TRUE FALSE"},
};

// The edit takes its source from the first of the two fields that is there, the copy that it calls
// from the later one: with both, another template would be copied than the one that was judged.
constexpr Choice kSource = {"ParserFilename", "DefaultParserFilename"};
constexpr Choice kEditChoices[] = {kSource,
                                   {"CopyParserFilename", "CopyParserFilenameMailbox", false}};
// Without a name the handler would make a copy named after the whole path of its source.
constexpr Choice kCopyChoices[] = {kSource, {"CopyParserFilename", "CopyParserFilenameMailbox"}};
constexpr Choice kDeleteChoices[] = {{"ParserFilename"}};
constexpr Choice kRenameChoices[] = {{"ParserFilename"}, {"NewName"}};
constexpr Choice kRestoreChoices[] = {{"ParserFilename"},
                                      {"CopyParserFilename", "CopyParserFilenameMailbox"}};
constexpr Choice kBringBackChoices[] = {{"ParserFilename"}, {"version"}, {"seen"}};
constexpr Choice kUploadChoices[] = {{"file"}, {"pool"}, {"name"}};
constexpr Choice kLoginChoices[] = {{"name"}, {"password"}};
constexpr Choice kPasswordChoices[] = {{"old"}, {"new"}, {"repeat"}};
constexpr Choice kAccountChoices[] = {{"what"}, {"name"}};
constexpr Choice kLanguageChoices[] = {{"language"}};
constexpr Choice kFolderPinChoices[] = {{"name"}, {"pass"}};
constexpr Choice kJobPasswordChoices[] = {{"name"}, {"file"}, {"pass"}, {"action"}};
constexpr Choice kSetPinChoices[] = {{"saUser"}, {"saPasswd"}, {"repeat"}};
constexpr Choice kChangePinChoices[] = {{"unsafeUser"}, {"unsafePasswd"}, {"repeat"}};
constexpr Choice kJobChoices[] = {{"name"}, {"file"}, {"action"}};
constexpr Choice kFolderChoices[] = {{"what"}, {"name"}};
constexpr Choice kCloneChoices[] = {{"groups"}};
constexpr Choice kCloneReadChoices[] = {{"file"}};
constexpr Choice kCloneApplyChoices[] = {{"upload"}, {"digest"}, {"items"}};
constexpr Choice kMailboxChoices[] = {
    {"promptOnPrivateScan"}, {"publicPasswordEnabled"}, {"scanToPublic"}};

constexpr FormRule kForms[] = {
    {"/form/HTTP_Parser_Set_fn", Role::user, Act::edits, kEditFields, kEditRun, kEditChoices},
    {"/form/HTTP_Parser_Copy_fn", Role::user, Act::copies, kEditFields, {}, kCopyChoices},
    {"/form/HTTP_Parser_Delete_fn", Role::user, Act::deletes, kDeleteFields, {}, kDeleteChoices},
    {"/form/HTTP_Parser_Restore_Defaults_fn",
     Role::administrator,
     Act::restores,
     kRestoreFields,
     {},
     kRestoreChoices},
    {"/do/rename", Role::user, Act::renames, kRenameFields, {}, kRenameChoices},
    {"/do/bring-back", Role::user, Act::brings_back, kBringBackFields, {}, kBringBackChoices},
    {"/do/upload", Role::user, Act::uploads, kUploadFields, {}, kUploadChoices},
    {"/do/login", Role::anonymous, Act::none, kLoginFields, {}, kLoginChoices},
    {"/do/logout", Role::anonymous, Act::none, {}, {}, {}},
    {"/do/password", Role::user, Act::none, kPasswordFields, {}, kPasswordChoices},
    {"/do/account", Role::administrator, Act::none, kAccountFields, {}, kAccountChoices},
    {"/do/language", Role::anonymous, Act::none, kLanguageFields, {}, kLanguageChoices},
    {"/form/HTTP_Parser_Verify_Mbox_Password_fn",
     Role::anonymous,
     Act::none,
     kFolderPinFields,
     {},
     kFolderPinChoices},
    {"/form/HTTP_Parser_Verify_Job_Password_fn",
     Role::anonymous,
     Act::none,
     kJobPasswordFields,
     {},
     kJobPasswordChoices},
    {"/form/HTTP_Parser_Mbox_Set_Pass_SA_fn",
     Role::administrator,
     Act::none,
     kSetPinFields,
     {},
     kSetPinChoices},
    {"/form/HTTP_Parser_Mbox_Set_Pass_Usr_fn",
     Role::anonymous,
     Act::none,
     kChangePinFields,
     {},
     kChangePinChoices},
    {"/do/job", Role::anonymous, Act::none, kJobFields, {}, kJobChoices},
    {"/do/folder", Role::administrator, Act::none, kFolderFields, {}, kFolderChoices},
    {"/do/mailbox-settings", Role::administrator, Act::none, kMailboxFields, {}, kMailboxChoices},
    {"/do/clone", Role::administrator, Act::none, kCloneFields, {}, kCloneChoices},
    {"/do/clone-read", Role::administrator, Act::none, kCloneReadFields, {}, kCloneReadChoices},
    {"/do/clone-apply", Role::administrator, Act::none, kCloneApplyFields, {}, kCloneApplyChoices},
};

// The new jobs of everybody start from it. The handlers compare the path they are given with its
// own; as only paths in their shortest form come through, there is no other spelling of it.
constexpr std::string_view kDefaultTemplate = "/tmp/template/pool/system/default.ktp";

// The device looks for the template of a folder under this end of its name alone.
constexpr std::string_view kFolderSuffix = ".KTP";

// `fault` is what the field does wrong, such as "is missing; fill it in".
std::string field_refusal(std::string_view field, std::string_view fault) {
  return said("The field \"{1}\" {2}.", field, fault);
}

std::string_view directory_of(std::string_view path) { return path.substr(0, path.rfind('/')); }

std::string_view name_of(std::string_view path) { return path.substr(path.rfind('/') + 1); }

std::string joined(std::string_view directory, const std::string& name) {
  return name.empty() ? name : std::string(directory) + '/' + name;
}

// Whether a path lies in the part of that name of one of the pools.
bool is_in_part(std::string_view path, std::string_view part) {
  return path.substr(pool_of(path).size()).starts_with('/' + std::string(part) + '/');
}

const PageRule* find_page(std::string_view path) {
  const auto* row = std::ranges::find(kPages, path, &PageRule::path);
  return row == std::end(kPages) ? nullptr : row;
}

const FieldRule* find_rule(std::span<const FieldRule> rules, std::string_view name) {
  const auto found = std::ranges::find(rules, name, &FieldRule::name);
  return found == rules.end() ? nullptr : &*found;
}

const FieldRule* find_rule(const FormRule& form, std::string_view name) {
  for (const auto& rules : {form.fields, form.run_fields, std::span<const FieldRule>(kEveryForm)}) {
    if (const FieldRule* rule = find_rule(rules, name)) return rule;
  }
  return nullptr;
}

std::optional<Refusal> refuse(std::string_view field, const std::string& fault, int status = 422) {
  return Refusal{status, field_refusal(field, fault), std::string(field)};
}

std::optional<Refusal> refuse_field(const FormRule& form, const FormField& field) {
  const FieldRule* rule = find_rule(form, field.name);
  if (rule == nullptr) return refuse(field.name, said("is not known to this form; leave it out"));
  const bool takes_file = rule->kind == Kind::file;
  if (field.is_file && !takes_file)
    return refuse(field.name, said("is a file; this form takes none"));
  if (!field.is_file && takes_file) return refuse(field.name, said("is no file; choose one"));
  const std::string fault = value_fault(*rule, field.value);
  return fault.empty() ? std::nullopt : refuse(field.name, fault);
}

// Each field once, those of the runs once in each run. A run that is not closed would be ignored.
std::optional<Refusal> refuse_repeats(const FormRule& form, const std::vector<FormField>& fields) {
  std::set<std::string_view> seen;
  std::set<std::string_view> seen_in_run;
  for (const FormField& field : fields) {
    const bool in_run = find_rule(form.run_fields, field.name) != nullptr;
    if (!(in_run ? seen_in_run : seen).insert(field.name).second) {
      return refuse(field.name, said("is given twice; give it once"));
    }
    if (in_run && field.name == "Action") seen_in_run.clear();
  }
  if (seen_in_run.empty()) return std::nullopt;
  return refuse(*seen_in_run.begin(),
                said("stands in an edit that no field \"Action\" closes; add it"));
}

std::optional<Refusal> refuse_choice(const Choice& choice, const std::vector<FormField>& fields) {
  const auto count = [&](std::string_view name) {
    return std::ranges::count(fields, name, &FormField::name);
  };
  if (count(choice.first) + (choice.second.empty() ? 0 : count(choice.second)) == 0) {
    return choice.needed ? refuse(choice.first, said("is missing; fill it in")) : std::nullopt;
  }
  if (choice.second.empty() || count(choice.first) == 0 || count(choice.second) == 0) {
    return std::nullopt;
  }
  return refuse(choice.second, said("does not go with \"{1}\"; give one of the two", choice.first));
}

// Who may change or remove a template.
std::optional<Refusal> refuse_change(std::string_view path, Act act, Role role) {
  const std::string field = "ParserFilename";
  const std::string_view name = name_of(path);
  const bool keeps_file = act == Act::edits || act == Act::brings_back;
  if (path == kDefaultTemplate && !keeps_file) {
    return Refusal{422, said("\"{1}\" is the default template: it stays where it is.", name),
                   field};
  }
  if (is_in_part(path, "factory")) {
    return Refusal{
        422, said("\"{1}\" is as shipped and never changes; copy it and change the copy.", name),
        field};
  }
  // Removed or renamed by itself, it would leave the folder's PIN and jobs behind.
  if (is_in_part(path, "mailbox") && !keeps_file) {
    return Refusal{
        422,
        said("\"{1}\" belongs to a mailbox folder: it goes, or gets another name, with its "
             "folder on the page of the mailbox settings.",
             name),
        field};
  }
  if (role < writer_role(path)) {
    return Refusal{
        403, said("\"{1}\" is for everybody: only an administrator may change it.", name), field};
  }
  return std::nullopt;
}

// A template of the mailbox is a folder. One of another name could neither be opened nor removed.
std::optional<Refusal> refuse_folder(const FormRule& form, std::string_view destination) {
  if (form.act == Act::renames || !is_in_part(destination, "mailbox")) return std::nullopt;
  const std::string field = form.act == Act::uploads ? "name" : "CopyParserFilenameMailbox";
  const std::string_view name = name_of(destination);
  const std::string_view folder = name.substr(0, name.rfind('.'));
  if (!name.ends_with(kFolderSuffix)) {
    return Refusal{422, said("A mailbox folder's template ends in .KTP, in capitals."), field};
  }
  const std::string fault = value_fault({"", Kind::folder, kFolderLimit}, folder);
  if (fault.empty() || folder == kPublicFolder) return std::nullopt;
  return Refusal{422, said("The folder's name {1}.", fault), field};
}

std::optional<Refusal> refuse_act(const FormRule& form, const std::vector<FormField>& fields,
                                  Role role) {
  if (form.act == Act::none) return std::nullopt;
  const std::string source = source_path(form, fields);
  const std::string_view pool = directory_of(source);
  if (form.act == Act::renames && pool != kWebPool && pool != kMailboxPool) {
    return refuse("ParserFilename",
                  said("names no template of the web pool; only those get other names here"));
  }
  const std::string destination = destination_path(form, fields);
  if (destination == kDefaultTemplate) {
    return Refusal{422,
                   said("\"{1}\" is the default template, from which all new jobs start: it is "
                        "never replaced. Choose another name.",
                        name_of(destination)),
                   form.act == Act::uploads ? "name" : "CopyParserFilename"};
  }
  const bool is_shared = is_in_part(destination, "system") || is_in_part(destination, "mailbox");
  if (form.act == Act::uploads && is_shared && role != Role::administrator) {
    return Refusal{403,
                   said("The templates of this pool are for everybody: only an administrator may "
                        "upload one. Choose another pool."),
                   "pool"};
  }
  // A template there is a folder of the mailbox, and folders are the administrator's.
  if (form.act != Act::renames && is_in_part(destination, "mailbox") &&
      role != Role::administrator) {
    return refuse(
        "CopyParserFilenameMailbox",
        said("leads to the mailbox, whose folders only an administrator makes or replaces; "
             "choose another pool"),
        403);
  }
  if (auto refusal = refuse_folder(form, destination)) return refusal;
  if (destination == source) {
    return Refusal{422, said("The new name is that of the template itself; choose another."),
                   form.act == Act::renames ? "NewName" : "CopyParserFilename"};
  }
  const bool changes_source =
      form.act == Act::deletes || form.act == Act::renames || destination.empty();
  return changes_source ? refuse_change(source, form.act, role) : std::nullopt;
}

}  // namespace

std::string refuse_page_fields(std::string_view path, const std::vector<Field>& fields) {
  const PageRule* page = find_page(path);
  const auto rules = page == nullptr ? std::span<const FieldRule>(kPageFields) : page->fields;
  for (const auto& [name, value] : fields) {
    const FieldRule* rule = find_rule(rules, name);
    if (rule == nullptr) return field_refusal(name, said("is not known to any page; leave it out"));
    if (std::ranges::count(fields, name, &Field::first) > 1) {
      return field_refusal(name, said("is given twice; give it once"));
    }
    if (const std::string fault = value_fault(*rule, value); !fault.empty()) {
      return field_refusal(name, fault);
    }
  }
  return "";
}

bool is_default_template(std::string_view path) { return path == kDefaultTemplate; }

Role page_role(std::string_view path) {
  const PageRule* page = find_page(path);
  return page == nullptr ? Role::anonymous : page->role;
}

Role writer_role(std::string_view directory) {
  return is_in_part(directory, "system") || is_in_part(directory, "mailbox") ? Role::administrator
                                                                             : Role::user;
}

const FormRule* find_form(std::string_view path) {
  const auto* row = std::ranges::find(kForms, path, &FormRule::path);
  return row == std::end(kForms) ? nullptr : row;
}

std::optional<Refusal> refuse_form(const FormRule& form, const std::vector<FormField>& fields,
                                   Role role) {
  for (const FormField& field : fields) {
    if (auto refusal = refuse_field(form, field)) return refusal;
  }
  if (auto refusal = refuse_repeats(form, fields)) return refusal;
  for (const Choice& choice : form.choices) {
    if (auto refusal = refuse_choice(choice, fields)) return refusal;
  }
  return refuse_act(form, fields, role);
}

bool is_withheld(const FormRule& form, std::string_view field) {
  const FieldRule* rule = find_rule(form, field);
  return field == "token" || (rule != nullptr && rule->kind == Kind::secret);
}

std::string field_value(const std::vector<FormField>& fields, std::string_view name) {
  const auto found = std::ranges::find(fields, name, &FormField::name);
  return found == fields.end() ? "" : found->value;
}

std::string source_path(const FormRule& form, const std::vector<FormField>& fields) {
  const std::string path = field_value(fields, kSource.first);
  if (form.act == Act::restores) return joined(kFactoryPool, path);
  return path.empty() ? field_value(fields, kSource.second) : path;
}

std::string destination_path(const FormRule& form, const std::vector<FormField>& fields) {
  if (form.act == Act::renames) {
    return joined(directory_of(source_path(form, fields)), field_value(fields, "NewName"));
  }
  if (form.act == Act::uploads) {
    return joined("/tmp/template/pool/" + field_value(fields, "pool"), field_value(fields, "name"));
  }
  const std::string_view pool = form.act == Act::restores ? kSystemPool : kWebPool;
  const std::string path = joined(pool, field_value(fields, "CopyParserFilename"));
  return path.empty() ? joined(kMailboxPool, field_value(fields, "CopyParserFilenameMailbox"))
                      : path;
}

}  // namespace platen
