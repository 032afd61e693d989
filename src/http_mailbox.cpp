// Scan-to-mailbox: settings and spool paths, listings, passwords, upkeep of the mailbox templates.
// SPDX-License-Identifier: MIT
#include <dirent.h>
#include <sys/stat.h>

#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <span>

#include "configapi.h"
#include "http_parser.h"
#include "log.h"
#include "pool.h"
#include "request.h"
#include "server.h"
#include "templateWrapper.h"
#include "text.h"
#include "trace.h"

namespace {

constexpr char kSource[] = "http_mailbox.cpp";

constexpr char kKeyPrefix[] = "scanToMailbox.";
constexpr char kPasswordSuffix[] = ".password";
constexpr char kSidSuffix[] = ".sid";
constexpr char kReloadKey[] = "services[templatePool].localUpdating";
constexpr char kSpoolRoot[] = "/var/spool/nc/image_store/s2mailbox/";
constexpr char kTemplateSuffix[] = ".KTP";

constexpr std::size_t kKeySize = 255;
constexpr std::size_t kPathSize = 255;
constexpr std::size_t kNameSize = 64;
constexpr int kValueSize = sizeof(ConfigAVP_t);

// A key may be as long as its bound and is terminated all the same.
using Key = char[kKeySize + 1];
using Value = char[kValueSize + 1];

// A constant as an argument of the functions that take writable text.
template <std::size_t kSize>
class Writable {
 public:
  explicit Writable(const char (&constant)[kSize]) { std::memcpy(text_, constant, kSize); }
  char* get() { return text_; }

 private:
  char text_[kSize];
};

// ---- Configuration keys and updates. ----

// Tells whether a key that is `added` characters longer than `name` can be built; logs why not.
bool can_build_key(const char* name, const char* missing_name, std::size_t added, const char* key) {
  if (is_empty(name)) {
    LOG_LINE(LOG_LEVEL_WARNING, "%s", missing_name);
    return false;
  }
  if (key == nullptr) {
    LOG_LINE(LOG_LEVEL_WARNING, "Parameter 'ioCfgString' is NULL.");
    return false;
  }
  if (std::strlen(name) + added > kKeySize) {
    LOG_LINE(LOG_LEVEL_WARNING, "Not enough room in 'ioCfgString' to copy all the data!");
    return false;
  }
  return true;
}

// Turns the key of a folder's password into that of its session id. Returns false for a key that
// could not be built.
bool turn_into_sid_key(Key& key) {
  char* period = std::strrchr(key, '.');
  if (period == nullptr) return false;
  *period = '\0';
  append_text(key, kSidSuffix);
  return true;
}

void send_update(char* AVP) {
  if (ConfigUpdate(AVP) == 0) return;
  // Whatever was sent: no line tells which folder's password was to be set.
  LOG_LINE(LOG_LEVEL_WARNING, "Cfg Srv - Was unable to set value for '%s'.", kReloadKey);
}

// ---- Listings. ----

// Writes what stands for a folder's session id in the page: the id, or "T" when there is none.
void read_shown_sid(char* folder, bool_t needs_pin, Value& sid) {
  if (needs_pin == FALSE) {
    LOG_LINE(LOG_LEVEL_VALUES, "folder %s does not need pin", folder);
    set_text(sid, "T");
    return;
  }
  LOG_LINE(LOG_LEVEL_VALUES, "folder %s needs pin", folder);
  GetPrivFolderSid(folder, sid);
  if (!is_empty(sid)) {
    LOG_LINE(LOG_LEVEL_INCONSISTENT, "folderSid == NULL or folderSid !=''");
    return;
  }
  LOG_LINE(LOG_LEVEL_VALUES, "folder sid is not set");
  set_text(sid, "T");
}

void print_folder(QVN_AppData* udata, char* file_name) {
  Value sid = "";
  char folder[kNameSize];
  TempSuppGetTempNameSansSuffix(file_name, folder);
  const bool_t needs_pin = PrivIsFolderPrivate(folder);
  read_shown_sid(folder, needs_pin, sid);
  adiprintf(udata, "$%s->AddFolderToList( new %s( \"%s\", %s, \"%s\" ));\n", "gFolderList",
            "FolderInfo", file_name, needs_pin != FALSE ? "true" : "false", sid);
}

// The job password in a job's log, or null; the store keeps it until its values are released.
const char* job_password(QVN_AppData* udata, char* jobLogPath) {
  return TempSuppGetAttributeValue(udata, jobLogPath, Writable(kMetadataService).get(),
                                   Writable("MetaDataValue").get());
}

// Prints the password of a job whose log holds one.
void print_job(QVN_AppData* udata, const char* job, char* jobLogPath) {
  const char* password = job_password(udata, jobLogPath);
  if (password == nullptr) return;
  adiprintf(udata, "\t$%s['%s']\t= '%s';\n", "gJobPasswords", job, password);
}

// Writes the spool directory of the folder that a listing is asked for.
void find_folder(QVN_AppData* udata, char* arg, char (&folderPath)[kPathSize]) {
  PrivBuildMboxOutputFilesPath(TempSuppGetArgument(udata, arg, Writable("name").get()), folderPath);
}

struct DirectoryCloser {
  void operator()(DIR* directory) const { closedir(directory); }
};

bool is_directory(const char* path) {
  struct stat status {};
  return stat(path, &status) == 0 && S_ISDIR(status.st_mode);
}

// Prints the job that an entry of the folder's directory is, unless it is a file or its log's path
// does not fit.
void print_job_directory(QVN_AppData* udata, const char* folderPath, char* entry) {
  char itemPath[kPathSize];
  char job[kNameSize];
  char jobLogPath[kPathSize];
  if (std::strlen(folderPath) + std::strlen(entry) + 2 >= kPathSize) return;
  format_into(itemPath, sizeof(itemPath), "%s/%s", folderPath, entry);
  if (!is_directory(itemPath)) return;
  TempSuppGetTempNameSansSuffix(entry, job);
  if (!format_into(jobLogPath, sizeof(jobLogPath), "%s/%s%s", itemPath, job, kTemplateSuffix)) {
    return;
  }
  print_job(udata, job, jobLogPath);
}

// Returns zeroed room for a file name; ends the process when there is no memory.
char* allocate_name(const char* function, int line = __builtin_LINE()) {
  void* name = std::calloc(kNameSize, 1);
  if (name == nullptr) end_process_without_memory(kSource, function, line);
  return static_cast<char*>(name);
}

// Prints the job whose log lies in the folder's directory; a name that `name` has no room for is
// taken as empty.
void print_job_log(QVN_AppData* udata, char* folderPath, const char* file_name, char* name) {
  char job[kNameSize];
  char jobLogPath[kPathSize];
  if (std::strlen(file_name) < kNameSize) format_into(name, kNameSize, "%s", file_name);
  TempSuppGetTempNameSansSuffix(name, job);
  TempSuppGetTempFullPath(folderPath, name, jobLogPath);
  print_job(udata, job, jobLogPath);
}

// ---- Next pages. ----

struct QueryField {
  const char* name;
  const char* value;
};

// Returns the address of a page with its query: whole, unescaped, an absent value empty.
MallocText page_address(const char* page, std::initializer_list<QueryField> query) {
  std::size_t size = std::strlen(page) + 1;
  for (const QueryField& field : query) {
    size += std::strlen("?=") + std::strlen(field.name) + text_length(field.value);
  }
  MallocText address = allocate_text(kSource, size, "malloc failed! Exiting!");
  format_into(address.get(), size, "%s", page);
  char separator = '?';
  for (const QueryField& field : query) {
    const std::size_t length = std::strlen(address.get());
    format_into(address.get() + length, size - length, "%c%s=%s", separator, field.name,
                text_or_empty(field.value));
    separator = '&';
  }
  return address;
}

// Hands the address to the form's last "NextPage" entry; without one it is dropped.
void set_next_page(const QVN_AppData& request, MallocText address) {
  FormEntry* entry = last_entry(form_entries(request), "NextPage");
  if (entry == nullptr) return;
  LOG_LINE(LOG_LEVEL_VALUES, "WILL TRY TO SET NEXT PAGE TO '%s'", address.get());
  std::free(entry->val);
  entry->val = address.release();
}

// ---- Folder passwords. ----

// What a form for a folder's password holds; null: not given.
struct FolderLogin {
  char* password = nullptr;
  char* folder = nullptr;
  char* sid = nullptr;
};

FolderLogin read_login(FormEntries entries) {
  FolderLogin login;
  for (const FormEntry& entry : entries) {
    if (equals(entry.name, "pass")) {
      login.password = entry.val;
      LOG_LINE(LOG_LEVEL_VALUES, "HAVE PASSWORD VALUE OF '%s'.", entry.val);
    } else if (equals(entry.name, "name")) {
      login.folder = entry.val;
      LOG_LINE(LOG_LEVEL_VALUES, "HAVE USERNAME VALUE OF '%s'.", entry.val);
    } else if (equals(entry.name, "sid")) {
      login.sid = entry.val;
      LOG_LINE(LOG_LEVEL_VALUES, "HAVE SID VALUE OF '%s'.", entry.val);
    }
  }
  return login;
}

// Stores the session id for the folder of a password's key, which is turned into the id's.
bool store_sid(Key& key, const char* sid) {
  if (turn_into_sid_key(key)) {
    LOG_LINE(LOG_LEVEL_VALUES, "Set config server value of '%s'.", key);
    if (Cfg_SetAttrValue(key, sid) == 0) return true;
  }
  LOG_LINE(LOG_LEVEL_VALUES, "Failed to set sid to Config Server");
  return false;
}

// Opens the folder to the session when the password is right. Returns whether it is open then.
bool open_folder(const FolderLogin& login) {
  if (login.folder == nullptr || login.password == nullptr) return false;
  Value value = "";
  Key key = "";
  PrivBuildPasswordCfgString(login.folder, key);
  LOG_LINE(LOG_LEVEL_VALUES, "Looking for config server value of '%s'.", key);
  if (Cfg_GetAttrValue(key, value, kValueSize) != 0) {
    LOG_LINE(LOG_LEVEL_VALUES, "Value for '%s' could not be retrieved from Config Server", key);
    return false;
  }
  return equals(login.password, value) && store_sid(key, login.sid);
}

MallocText folder_login_page(const char* folder, bool passMatches) {
  if (passMatches) return page_address("/mailbox/folder.php", {{"name", folder}});
  return page_address("/mailbox/pin.php", {{"name", folder}, {"msg", "tryagn"}});
}

// Stores a folder's password from the entries that a form names it by.
void set_password(QVN_AppData* udata, char* password_entry, char* user_entry) {
  char* password = TempSuppGetArgument(udata, nullptr, password_entry);
  char* user = TempSuppGetArgument(udata, nullptr, user_entry);
  if (user != nullptr) PrivSetPasswordForUser(user, password);
}

// ---- Job passwords. ----

// What a form for a job's password holds; null: not given.
struct JobLogin {
  char* file;
  char* folder;
  char* password;
  char* subfolder;
  char* action;
};

JobLogin read_job_login(QVN_AppData* udata) {
  const auto entry = [udata](auto name) { return TempSuppGetArgument(udata, nullptr, name.get()); };
  return {entry(Writable("file")), entry(Writable("name")), entry(Writable("pass")),
          entry(Writable("subf")), entry(Writable("action"))};
}

using PathPart = char[kNameSize + 1];

// Writes a directory's name and its "/"; one that is absent, or of 64 bytes or more, is left out.
void write_part(PathPart& part, const char* name) {
  if (name == nullptr || std::strlen(name) >= kNameSize) return;
  format_into(part, sizeof(part), "%s/", name);
}

// Writes the path of the job's log, which is named after its subfolder when there is one.
void find_job_log(const JobLogin& login, char (&jobLogPath)[kPathSize]) {
  PathPart folderNameToUse = "";
  PathPart subFolderNameToUse = "";
  char nameSansSuffix[kNameSize] = "";
  char fileNameToUse[kNameSize + sizeof(kTemplateSuffix) - 1] = "";
  static_assert(sizeof(kSpoolRoot) + sizeof(folderNameToUse) + sizeof(subFolderNameToUse) +
                    sizeof(fileNameToUse) <=
                kPathSize);
  write_part(folderNameToUse, login.folder);
  LOG_LINE(LOG_LEVEL_VALUES, "HAVE folderNameToUse of '%s'", folderNameToUse);
  const bool has_subfolder = !is_empty(login.subfolder);
  if (has_subfolder) write_part(subFolderNameToUse, login.subfolder);
  char* job = has_subfolder ? login.subfolder : login.file;
  if (job != nullptr) TempSuppGetTempNameSansSuffix(job, nameSansSuffix);
  LOG_LINE(LOG_LEVEL_VALUES, "HAVE subFolderNameToUse of '%s'", subFolderNameToUse);
  LOG_LINE(LOG_LEVEL_VALUES, "HAVE nameSansSuffix of '%s'", nameSansSuffix);
  format_into(fileNameToUse, sizeof(fileNameToUse), "%s%s", nameSansSuffix, kTemplateSuffix);
  LOG_LINE(LOG_LEVEL_VALUES, "HAVE fileNameToUse of '%s'", fileNameToUse);
  format_into(jobLogPath, sizeof(jobLogPath), "%s%s%s%s", kSpoolRoot, folderNameToUse,
              subFolderNameToUse, fileNameToUse);
  LOG_LINE(LOG_LEVEL_VALUES, "HAVE jobLogPath of '%s'", jobLogPath);
}

MallocText job_login_page(const JobLogin& login, bool passMatches) {
  const QueryField name = {"name", login.folder};
  const QueryField subf = {"subf", login.subfolder};
  const QueryField file = {"file", login.file};
  const QueryField action = {"action", login.action};
  if (!passMatches) {
    return page_address("/mailbox/action.php", {name, subf, file, action, {"msg", "tryagn"}});
  }
  if (equals(login.action, "opn")) return page_address("/mailbox/folder.php", {name, subf});
  return page_address("/mailbox/do_action.php", {name, subf, file, action});
}

// ---- Upkeep of the mailbox templates. ----

constexpr char kMailboxPool[] = "/tmp/template/pool/mailbox/";
constexpr char kPublicName[] = "_PUBLIC.KTP";
constexpr char kPublicTemplate[] = "/tmp/template/pool/mailbox/_PUBLIC.KTP";

struct PromptAttribute {
  const char* name;
  const char* type;
  const char* value;
};

using Prompt = std::span<const PromptAttribute>;

constexpr PromptAttribute kFolderPassword[] = {
    {"MetaDataPrompt", "string", "Enter Password for Folder"},
    {"MetaDataFieldName", "string", "S2M_FOLDER_PASSWORD"},
    {"MetaDataRequiredEntry", "boolean", "TRUE"},
    {"MetaDataMaskingRequired", "enum_metadatamaskingrequired", "MASK_AND_OMIT"},
    {"MetaDataValidationRequired", "boolean", "TRUE"},
    {"MetaDataType", "string", "string"},
};

constexpr PromptAttribute kJobPassword[] = {
    {"MetaDataPrompt", "string", "Enter Password for Job"},
    {"MetaDataFieldName", "string", "S2M_JOB_PASSWORD"},
    {"MetaDataRequiredEntry", "boolean", "TRUE"},
    {"MetaDataMaskingRequired", "enum_metadatamaskingrequired", "MASK_ONLY"},
    {"MetaDataType", "string", "string"},
};

constexpr PromptAttribute kDocumentName[] = {
    {"MetaDataPrompt", "string", "Enter Document Name"},
    {"MetaDataFieldName", "string", "DOC_OBJECT_NAME"},
    {"MetaDataRequiredEntry", "boolean", "TRUE"},
    {"MetaDataType", "string", "string"},
};

void add_prompt(TemplateObject* tpl, Prompt prompt) {
  char invocation[kNewNameSize] = "";
  if (CreateMetaDataInvocation(tpl, invocation, sizeof(invocation)) != 1) return;
  for (const PromptAttribute& attribute : prompt) {
    WriteAttributeFromStringUseFirst(tpl, kMetadataService, invocation, attribute.name,
                                     attribute.type, attribute.value, TRUE, FALSE);
  }
}

void add_prompts(QVN_AppData* udata, char* path, std::initializer_list<Prompt> prompts) {
  HTTP_Open_Parser_fn(udata, path);
  for (const Prompt& prompt : prompts) add_prompt(open_template(*udata), prompt);
  close_template(udata, Changes::save);
}

struct MailboxSettings {
  bool_t promptOnPrivateScan;
  bool_t publicPasswordEnabled;
  bool_t scanToPublic;
};

// Returns a setting, or `value` when it cannot be read.
bool_t read_setting(char* name, bool_t value) {
  Key key = "";
  PrivBuildMboxCfgString(name, key);
  if (Cfg_GetBoolAttrValue(key, &value) != 0) {
    LOG_LINE(LOG_LEVEL_WARNING, "Cfg Srv - No value found for '%s'.", key);
  }
  return value;
}

MailboxSettings read_settings() {
  return {read_setting(Writable("promptOnPrivateScan").get(), TRUE),
          read_setting(Writable("publicPasswordEnabled").get(), FALSE),
          read_setting(Writable("scanToPublic").get(), TRUE)};
}

void clear_web_update() {
  Key key = "";
  PrivBuildMboxCfgString(Writable("webUpdate").get(), key);
  if (Cfg_SetBoolAttrValue(key, FALSE) != 0) {
    LOG_LINE(LOG_LEVEL_WARNING, "Cfg Srv - Was unable to set value for '%s'.", key);
  }
}

void update_folder_template(QVN_AppData* udata, char* path, char* file_name,
                            const MailboxSettings& settings) {
  char folder[kNameSize];
  TempSuppGetTempNameSansSuffix(file_name, folder);
  const bool_t is_private = PrivIsFolderPrivate(folder);
  PrivMetaDataRemoveAll(udata, path);
  if (is_private == TRUE && settings.promptOnPrivateScan == TRUE) {
    PrivMetaDataAddPassForPrivate(udata, path);
  } else if (is_private == FALSE && settings.publicPasswordEnabled == TRUE) {
    PrivMetaDataAddPassForPublic(udata, path);
  }
}

// Returns whether the template pools are to be reloaded: whether the template was to go.
bool update_public_template(QVN_AppData* udata, char* path, const MailboxSettings& settings) {
  if (settings.scanToPublic != FALSE) {
    PrivMetaDataRemoveAll(udata, path);
    if (settings.publicPasswordEnabled == TRUE) PrivMetaDataAddPassForPublic(udata, path);
    return false;
  }
  if (DeleteCKwtTemplateWFilename(kPublicTemplate) != 0) {
    LOG_LINE(LOG_LEVEL_NOTICE, "Removed default public template.");
  } else {
    LOG_LINE(LOG_LEVEL_WARNING, "Unable to remove default public template!");
  }
  return true;
}

// Brings every template of the mailbox pool in line with the settings.
void update_pool(QVN_AppData* udata, const MailboxSettings& settings) {
  const TemplatePool pool(kMailboxPool);
  if (!pool.readable()) return;
  bool defaultFound = false;
  bool forceTemplateUpdate = false;
  for (const auto* node = pool.first(); node != nullptr; node = node->next) {
    char path[kPathSize];
    TempSuppGetTempFullPath(Writable(kMailboxPool).get(), node->szFileName, path);
    if (equals(node->szFileName, kPublicName)) {
      defaultFound = true;
      forceTemplateUpdate = update_public_template(udata, path, settings);
    } else {
      update_folder_template(udata, path, node->szFileName, settings);
    }
  }
  if (!defaultFound && settings.scanToPublic == TRUE) {
    forceTemplateUpdate = true;
    PrivMakeDefaultPublicTemplate(udata, settings.publicPasswordEnabled);
    LOG_LINE(LOG_LEVEL_NOTICE, "Default public template created.");
  }
  if (forceTemplateUpdate) PrivForceTemplateUpdate();
}

}  // namespace

// ---- Exported functions. ----

void HTTP_Parser_Mailbox_List_fn(QVN_AppData* udata, char* arg) {
  const FunctionTrace trace(kSource);
  require(kSource, udata, "udata is NULL! Exiting!");
  const TemplatePool pool(TempSuppGetArgument(udata, arg, Writable("TemplateDir").get()));
  for (const auto* node = pool.first(); node != nullptr; node = node->next) {
    print_folder(udata, node->szFileName);
  }
}

void HTTP_Parser_Folder_Passwords_List_fn(QVN_AppData* udata, char* arg) {
  const FunctionTrace trace(kSource);
  require(kSource, udata, "udata is NULL! Exiting!");
  char folderPath[kPathSize];
  find_folder(udata, arg, folderPath);
  const std::unique_ptr<DIR, DirectoryCloser> directory(opendir(folderPath));
  if (directory == nullptr) {
    LOG_LINE(LOG_LEVEL_WARNING, "opendir RETURNED NULL :(");
    return;
  }
  while (dirent* entry = readdir(directory.get())) {
    if (equals(entry->d_name, ".") || equals(entry->d_name, "..")) continue;
    print_job_directory(udata, folderPath, entry->d_name);
  }
}

void HTTP_Parser_Job_Passwords_List_fn(QVN_AppData* udata, char* arg) {
  const FunctionTrace trace(kSource);
  require(kSource, udata, "udata is NULL! Exiting!");
  char folderPath[kPathSize];
  find_folder(udata, arg, folderPath);
  const TemplatePool pool(folderPath);
  for (const auto* node = pool.first(); node != nullptr; node = node->next) {
    char* name = allocate_name(__func__);  // not released
    print_job_log(udata, folderPath, node->szFileName, name);
  }
}

int HTTP_Parser_Verify_Mbox_Password_fn(QVN_AppData* inUdata, FormEntry* /*inEntries*/,
                                        int /*inNumEntries*/) {
  const FunctionTrace trace(kSource);
  require(kSource, inUdata, "inUdata is NULL! Exiting!");
  const FolderLogin login = read_login(form_entries(*inUdata));
  const bool passMatches = open_folder(login);
  LOG_LINE(LOG_LEVEL_VALUES, "PASSWORD MATCHES = '%d'.", passMatches);
  set_next_page(*inUdata, folder_login_page(login.folder, passMatches));
  return 0;
}

int HTTP_Parser_Verify_Job_Password_fn(QVN_AppData* inUdata, FormEntry* /*inEntries*/,
                                       int /*inNumEntries*/) {
  const FunctionTrace trace(kSource);
  require(kSource, inUdata, "inUdata is NULL! Exiting!");
  const JobLogin login = read_job_login(inUdata);
  char jobLogPath[kPathSize] = "";
  find_job_log(login, jobLogPath);
  const bool passMatches = equals(login.password, job_password(inUdata, jobLogPath));
  LOG_LINE(LOG_LEVEL_VALUES, "PASSWORD MATCHES = '%d'.", passMatches);
  set_next_page(*inUdata, job_login_page(login, passMatches));
  return 0;
}

void HTTP_Parser_Mbox_Set_Pass_SA_fn(QVN_AppData* inUdata, FormEntry* /*inEntries*/,
                                     int /*inNumEntries*/) {
  set_password(inUdata, Writable("saPasswd").get(), Writable("saUser").get());
}

void HTTP_Parser_Mbox_Set_Pass_Usr_fn(QVN_AppData* inUdata, FormEntry* /*inEntries*/,
                                      int /*inNumEntries*/) {
  set_password(inUdata, Writable("unsafePasswd").get(), Writable("unsafeUser").get());
}

void HTTP_Parser_Update_Templates_fn(QVN_AppData* inUdata, char* /*inArg*/) {
  const FunctionTrace trace(kSource);
  require(kSource, inUdata, "inUdata is NULL! Exiting!");
  update_pool(inUdata, read_settings());
  clear_web_update();
}

void PrivMakeDefaultPublicTemplate(QVN_AppData* inUdata, bool_t inPasswordForPublic) {
  if (CopyCKwtTemplate("/tmp/template/pool/factory/MAILBOX.KTP", kPublicTemplate) != KWT_SUCCESS) {
    LOG_LINE(LOG_LEVEL_WARNING, "Could not copy mailbox template to public default!");
    return;
  }
  if (inPasswordForPublic == TRUE) {
    PrivMetaDataAddPassForPublic(inUdata, Writable(kPublicTemplate).get());
  }
}

void PrivMetaDataAddPassForPrivate(QVN_AppData* inUdata, char* inTemplatePath) {
  add_prompts(inUdata, inTemplatePath, {kFolderPassword});
}

void PrivMetaDataAddPassForPublic(QVN_AppData* inUdata, char* inTemplatePath) {
  add_prompts(inUdata, inTemplatePath, {kJobPassword, kDocumentName});
}

void PrivMetaDataRemoveAll(QVN_AppData* inUdata, char* inTemplatePath) {
  char argument[kPathSize + 1];
  format_into(argument, sizeof(argument), "%s%s%s", inTemplatePath, "|", "O_RDWR");
  HTTP_Open_Parser_fn(inUdata, argument);
  if (has_opened_template(*inUdata)) {
    TemplateObject* tpl = open_template(*inUdata);
    DeleteService(tpl, kMetadataService);
    LOG_LINE(LOG_LEVEL_VALUES, "Removed meta data service from '%s'.", inTemplatePath);
    DeleteAttribute(tpl, "qvn_document", "UserData");
  }
  close_template(inUdata, Changes::save);
}

void PrivBuildMboxCfgString(char* inPref, char* ioCfgString) {
  const FunctionTrace trace(kSource);
  if (can_build_key(inPref, "Parameter 'inPref' is NULL or blank", std::strlen(kKeyPrefix),
                    ioCfgString)) {
    std::memset(ioCfgString, 0, kKeySize);
    format_into(ioCfgString, sizeof(Key), "%s%s", kKeyPrefix, inPref);
  }
  LOG_LINE(LOG_LEVEL_VALUES, "Built mailbox config string of '%s'.", ioCfgString);
}

void PrivBuildPasswordCfgString(char* inUserName, char* ioCfgString) {
  const FunctionTrace trace(kSource);
  if (can_build_key(inUserName, "Parameter 'inUserName' is NULL or blank",
                    std::strlen(kKeyPrefix) + std::strlen(kPasswordSuffix), ioCfgString)) {
    format_into(ioCfgString, sizeof(Key), "%s%s%s", kKeyPrefix, inUserName, kPasswordSuffix);
  }
}

void PrivBuildMboxOutputFilesPath(char* inFolderName, char* ioFolderPath) {
  std::memset(ioFolderPath, 0, kPathSize);
  const bool is_public = inFolderName == nullptr || std::strstr(inFolderName, "..") != nullptr;
  const char* folder = is_public ? "_PUBLIC" : inFolderName;
  if (std::strlen(kSpoolRoot) + std::strlen(folder) + std::strlen("/") < kPathSize) {
    format_into(ioFolderPath, kPathSize, "%s%s/", kSpoolRoot, folder);
  }
  LOG_LINE(LOG_LEVEL_VALUES, "Built path of '%s' for mailbox output files.", ioFolderPath);
}

void GetPrivFolderSid(char* inFolderName, char* outSid) {
  const FunctionTrace trace(kSource);
  Key key = "";
  PrivBuildPasswordCfgString(inFolderName, key);
  if (turn_into_sid_key(key)) {
    LOG_LINE(LOG_LEVEL_VALUES, "Get config server value of '%s'.", key);
  } else {
    LOG_LINE(LOG_LEVEL_VALUES, "There is no period in '%s'", key);
  }
  if (Cfg_GetAttrValue(key, outSid, kValueSize) != 0) {
    LOG_LINE(LOG_LEVEL_VALUES, "Value for '%s' could not be retrieved from the Config Server", key);
  }
}

bool_t PrivIsFolderPrivate(char* inFolderName) {
  Value value = "";
  Key key = "";
  PrivBuildPasswordCfgString(inFolderName, key);
  LOG_LINE(LOG_LEVEL_VALUES, "Looking for config server value of '%s'.", key);
  if (Cfg_GetAttrValue(key, value, kValueSize) != 0) {
    LOG_LINE(LOG_LEVEL_VALUES, "Value for '%s' could not be retrieved from the Config Server", key);
    return FALSE;
  }
  return is_empty(value) ? FALSE : TRUE;
}

void PrivSetPasswordForUser(char* inUser, char* inPass) {
  ConfigAVP_t AVP = "";
  format_into(AVP, sizeof(AVP), "%s%s%s=\"%s\"", kKeyPrefix, inUser, kPasswordSuffix,
              text_or_empty(inPass));
  send_update(AVP);
}

void PrivForceTemplateUpdate(void) {
  ConfigAVP_t AVP = "";
  format_into(AVP, sizeof(AVP), "%s=\"%s\"", kReloadKey, "TRUE");
  send_update(AVP);
}
