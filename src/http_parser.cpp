// Parser functions of the template pages and of the clone page.
// SPDX-License-Identifier: MIT
#include "http_parser.h"

#include <fcntl.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <span>
#include <type_traits>
#include <utility>

#include "configapi.h"
#include "log.h"
#include "pool.h"
#include "request.h"
#include "server.h"
#include "templateWrapper.h"
#include "text.h"
#include "trace.h"
#include "xpaths.h"

namespace {

constexpr char kSource[] = "http_parser.cpp";
constexpr char kSystemPool[] = "/tmp/template/pool/system";
constexpr char kPoolRoot[] = "/tmp/template/pool";
constexpr const char* kTemplateRoots[] = {kSystemPool, kPoolRoot, "/tarn/template/pool",
                                          "/var/spool/nc/image_store/s2mailbox/"};

constexpr std::size_t kPathSize = 255;
constexpr std::size_t kPathBuffer = kPathSize + 1;
constexpr char kDefaultTemplate[] = "/tmp/template/pool/system/default.ktp";
constexpr char kGeneralService[] = "qvn_svc_general";

using ListName = EscapedText<2>;
using ScriptText = EscapedText<4>;
using ScriptTextWithSlashes = EscapedText<3>;

// The device definition that edited templates are marked with.
enum enum_KLV { JT_GEN_KLV_GENERIC = 13 };

static_assert(std::is_standard_layout_v<QVN_AppData> && sizeof(QVN_AppData::Reason) == 201);

// ---- Open and close. ----

void release_template(QVN_AppData& request) {
  std::free(request.parserTemplate);
  request.parserTemplate = nullptr;
}

// Closes without saving; nothing of the old template stays in the record, whatever the close did.
void discard_open_template(QVN_AppData& request) {
  LOG_LINE(LOG_LEVEL_UNUSUAL, "udata->parserTemplate is not null? Cleanup.");
  close_template(&request, Changes::discard);
  release_template(request);
  LOG_LINE(LOG_LEVEL_VALUES, "udata->parserTemplate has been closed and freed.");
}

TemplateObject* allocate_template(QVN_AppData& request) {
  LOG_LINE(LOG_LEVEL_VALUES, "Allocing memory for udata->parserTemplate.");
  request.parserTemplate = std::calloc(1, sizeof(TemplateObject));
  require(kSource, request.parserTemplate, "Could not allocate memory for udata->parserTemplate!");
  return open_template(request);
}

// Opens what `argument`, PATH or PATH|MODE, names; the argument is cut at the end of the path.
void open_argument(QVN_AppData& request, char* argument) {
  TemplateObject* tpl = allocate_template(request);
  char* rest = nullptr;
  char* path = strtok_r(argument, "|", &rest);
  LOG_LINE(LOG_LEVEL_VALUES, "template file path = %s", path);
  if (path == nullptr) {
    LOG_LINE(LOG_LEVEL_SUCCESS, "HTTP_Open_Parser_fn Successful.");
    return;
  }
  const int mode = equals(strtok_r(nullptr, "|", &rest), "O_RDWR") ? O_RDWR : O_RDONLY;
  CKwtTemplate(tpl);
  if (ValidTemplatePath(path) != TRUE) {
    LOG_LINE(LOG_LEVEL_ERROR, "*** Illegal template path: %s", path);
    return;
  }
  if (Open(tpl, path, mode) == 0) {
    format_into(request.Reason, sizeof(request.Reason), "Template not available : %s", argument);
    LOG_LINE(LOG_LEVEL_ERROR, "Template not available : %s", argument);
    return;
  }
  LOG_LINE(LOG_LEVEL_SUCCESS, "HTTP_Open_Parser_fn Successful.");
}

// ---- Attribute output. ----

// Cuts the argument into its words; a word "NULL" and a word that is missing are not given.
ParserObject argument_words(char* arg) {
  if (arg == nullptr) return {};
  std::array<char*, 4> words{};
  char* rest = nullptr;
  char* next = arg;
  for (char*& word : words) {
    word = strtok_r(next, " ", &rest);
    if (equals(word, "NULL")) word = nullptr;
    next = nullptr;
  }
  return {words[0], words[1], words[2], words[3]};
}

char* given_or(char* word, FormEntries entries, const char* entry_name) {
  return word != nullptr ? word : last_value(entries, entry_name);
}

// The attribute that a tag addresses: each part by its word, else by the form.
ParserObject attribute_address(const QVN_AppData& request, char* arg) {
  const ParserObject attributes = argument_words(arg);
  const FormEntries entries = form_entries(request);
  return {given_or(attributes.serviceName, entries, "ServiceName"),
          given_or(attributes.invocationName, entries, "InvocationName"),
          given_or(attributes.attributeName, entries, "AttributeName"),
          given_or(attributes.attributeType, entries, "AttributeType")};
}

// Prints one value of a list; the first one has no separator (null).
void print_item(QVN_AppData& request, const char* separator, const char* text) {
  if (separator == nullptr) {
    adiprintf(&request, "%s", text);
  } else {
    adiprintf(&request, "%s%s", separator, text);
  }
}

// As print_item, escaped for a string of a script. Slashes of all but the first value stay bare:
// the pages that split these lists expect them so.
void print_script_item(QVN_AppData& request, const char* separator, const char* text) {
  const ScriptText escaped(kSource, text, kScriptText);
  print_item(request, separator,
             separator == nullptr ? escaped.c_str() : escaped.without_last_row());
}

// Prints every value of the addressed attribute with `print`.
void print_attribute(QVN_AppData& request, char* arg,
                     void (*print)(QVN_AppData&, const char*, const char*)) {
  const ParserObject cattributes = attribute_address(request, arg);
  if (cattributes.attributeName == nullptr) return;
  const bool commasAllowed = equals(cattributes.attributeName, "PhoneNumber");
  TemplateObject* tpl = open_template(request);
  const char* separator = nullptr;
  while (char* value = ReadAttributeStringWInvocUseFirstAsString(
             tpl, cattributes.serviceName, cattributes.invocationName, cattributes.attributeName,
             separator == nullptr ? TRUE : FALSE)) {
    print(request, separator, value);
    jt_destroy_value_string(tpl, value);
    separator = commasAllowed ? ";" : ",";
  }
}

// ---- Multi-value save and attribute update. ----

// What a post names ahead of its edits.
struct PostedNames {
  char* filename = nullptr;
  char* dfilename = nullptr;
  MallocText cfilename;
  bool_t filesize_exceed = FALSE;
  std::size_t nElem = 0;
};

// A field that asks for a copy, the pool it goes to, and the longest name that its path has room
// for.
struct CopyTarget {
  const char* entry;
  const char* pool;
  std::size_t longest;
};

constexpr CopyTarget kCopyTargets[] = {{"CopyParserFilename", "/web", 226},
                                       {"CopyParserFilenameMailbox", "/mailbox", 221}};

void read_path(char* value, char*& name, PostedNames& names) {
  if (text_length(value) > kPathSize) {
    names.filesize_exceed = TRUE;
  } else {
    name = value;
  }
}

void read_copy_name(const char* value, const CopyTarget& target, PostedNames& names) {
  const std::size_t length = text_length(value);
  if (length > target.longest) {
    if (length <= kPathSize) LOG_LINE(LOG_LEVEL_ERROR, "Copy parser file length exceeded!");
    names.filesize_exceed = TRUE;
    return;
  }
  // The buffer of an earlier copy name is not released.
  static_cast<void>(names.cfilename.release());
  names.cfilename = allocate_text(kSource, kPathBuffer, "malloc failed! Exiting!");
  format_into(names.cfilename.get(), kPathBuffer, "%s%s/%s", kPoolRoot, target.pool,
              text_or_empty(value));
  LOG_LINE(LOG_LEVEL_VALUES, "cfilename = %s", names.cfilename.get());
}

PostedNames read_names(FormEntries entries) {
  PostedNames names;
  for (FormEntry& entry : entries) {
    if (equals(entry.name, "Action")) ++names.nElem;
    if (equals(entry.name, "ParserFilename")) read_path(entry.val, names.filename, names);
    if (equals(entry.name, "DefaultParserFilename")) read_path(entry.val, names.dfilename, names);
    for (const CopyTarget& target : kCopyTargets) {
      if (equals(entry.name, target.entry)) read_copy_name(entry.val, target, names);
    }
  }
  return names;
}

// Has the posted copy made and turns the edits to it. Returns whether that worked.
bool make_copy(QVN_AppData& request, FormEntries entries, PostedNames& names) {
  if (ValidTemplatePath(names.cfilename.get()) != TRUE) {
    LOG_LINE(LOG_LEVEL_ERROR, "*** Invalid template path!");
    return false;
  }
  if (HTTP_Parser_Copy_fn(&request, entries.data(), static_cast<int>(entries.size())) != 0) {
    LOG_LINE(LOG_LEVEL_ERROR, "HTTP_Parser_Copy_fn returned error!");
    return false;
  }
  names.filename = names.cfilename.get();
  return true;
}

// Decides which template is edited. Returns false when the post is refused.
bool choose_template(QVN_AppData& request, FormEntries entries, PostedNames& names) {
  if (names.filesize_exceed != FALSE) {
    LOG_LINE(LOG_LEVEL_ERROR, "*** Filesize exceeded!");
    static_cast<void>(names.cfilename.release());  // not released on this path
    return false;
  }
  if (names.filename == nullptr) {
    LOG_LINE(LOG_LEVEL_ERROR, "filename = NULL!");
    names.filename = names.dfilename;
  }
  if (names.filename == nullptr) {
    LOG_LINE(LOG_LEVEL_ERROR, "dfilename == NULL!");
    return false;
  }
  if (request.loginName == nullptr && equals(names.filename, kDefaultTemplate)) {
    LOG_LINE(LOG_LEVEL_ERROR, "HTTP_Parser_Set called on default template without logging in!");
    return false;
  }
  if (names.cfilename != nullptr && !make_copy(request, entries, names)) return false;
  if (is_empty(names.filename)) {
    LOG_LINE(LOG_LEVEL_ERROR, "*** NULL filename!");
    return false;
  }
  return true;
}

// The edits of one post, in their order, and the run that is being gathered.
struct Gathering {
  std::unique_ptr<HTTP_PARSER_Set_Element[], FreeDeleter> setRequest;
  std::size_t nGoodElem = 0;
  HTTP_PARSER_Set_Element run{};
  char theNewInvocationName[kNewNameSize] = "";
  bool_t weHaveNewInvocationName = FALSE;
};

void allocate_elements(Gathering& edits, std::size_t nElem) {
  // At least one, so that an empty list is not taken for an exhausted heap.
  void* elements = std::calloc(nElem + 1, sizeof(HTTP_PARSER_Set_Element));
  require(kSource, elements, "QALLOCN failed! Exiting!");
  edits.setRequest.reset(static_cast<HTTP_PARSER_Set_Element*>(elements));
}

bool is_given(const char* value) { return !is_empty(value) && !equals(value, "NULL"); }

char* given_or_null(char* value) { return is_given(value) ? value : nullptr; }

char* given_or_empty(char* value) { return is_given(value) ? value : const_cast<char*>(""); }

// The invocation of a run; metadata runs that name none share one new invocation.
char* gathered_invocation(TemplateObject* tpl, char* value, Gathering& edits) {
  if (is_given(value)) return value;
  if (!equals(edits.run.ServiceName, kMetadataService)) return nullptr;
  if (edits.weHaveNewInvocationName == FALSE) {
    edits.theNewInvocationName[0] = '\0';
    const int created = CreateMetaDataInvocation(tpl, edits.theNewInvocationName,
                                                 sizeof(edits.theNewInvocationName));
    edits.weHaveNewInvocationName = created == 1 ? TRUE : FALSE;
  }
  return edits.theNewInvocationName;
}

// Closes the run with its action. Returns false when the run has no service.
bool gather_action(char* action, Gathering& edits) {
  if (edits.run.ServiceName == nullptr || action == nullptr) return false;
  edits.run.Action = action;
  edits.setRequest[edits.nGoodElem++] = edits.run;
  edits.run = {};
  return true;
}

// Takes one form entry into the run. Returns false when an action cannot be gathered.
bool gather_entry(TemplateObject* tpl, const FormEntry& entry, Gathering& edits) {
  HTTP_PARSER_Set_Element& run = edits.run;
  if (equals(entry.name, "Action")) return gather_action(entry.val, edits);
  if (equals(entry.name, "ServiceName")) run.ServiceName = given_or_null(entry.val);
  if (equals(entry.name, "InvocationName")) {
    run.InvocationName = gathered_invocation(tpl, entry.val, edits);
  }
  if (equals(entry.name, "AttributeName")) run.AttributeName = given_or_empty(entry.val);
  if (equals(entry.name, "AttributeType")) run.AttributeType = given_or_null(entry.val);
  if (equals(entry.name, "AttributeValue")) run.AttributeValue = given_or_empty(entry.val);
  if (equals(entry.name, "Compulsory")) {
    run.Compulsory = equals(entry.val, "TRUE") || equals(entry.val, "true") ? TRUE : FALSE;
  }
  return true;
}

bool gather_edits(TemplateObject* tpl, FormEntries entries, Gathering& edits) {
  for (const FormEntry& entry : entries) {
    if (!gather_entry(tpl, entry, edits)) return false;
  }
  return true;
}

// The apply phase of one post.
struct Applying {
  QVN_AppData& request;
  TemplateObject* tpl;
  char newInvocationName[kNewNameSize] = "";  // of the element that is being applied
  bool_t ret = TRUE;                          // result of the latest store operation
  bool_t failedOnce = FALSE;
};

void save_list(const Applying& post, HTTP_PARSER_Set_Element& element, char separator) {
  char inSeparator[] = {separator, '\0'};
  PrivSaveMultiValue(&post.request, &element, inSeparator);
}

void write_value(Applying& post, HTTP_PARSER_Set_Element& element) {
  if (equals(element.AttributeName, "PhoneNumber")) {
    LOG_LINE(LOG_LEVEL_UNUSUAL, "In PhoneNumber section!");
    save_list(post, element, ';');
    return;
  }
  if (std::strchr(element.AttributeValue, ',') != nullptr &&
      starts_with(element.AttributeType, "enum_")) {
    LOG_LINE(LOG_LEVEL_UNUSUAL, "Have value that contains a comma!");
    save_list(post, element, ',');
    return;
  }
  LOG_LINE(LOG_LEVEL_UNUSUAL, "About to call -> '%s' / compuls = '%d'",
           "WriteAttributeFromStringUseFirst", element.Compulsory);
  post.ret = WriteAttributeFromStringUseFirst(post.tpl, element.ServiceName, element.InvocationName,
                                              element.AttributeName, element.AttributeType,
                                              element.AttributeValue, TRUE, element.Compulsory);
}

void apply_update(Applying& post, HTTP_PARSER_Set_Element& element) {
  LOG_LINE(
      LOG_LEVEL_UNUSUAL, "Update action: %s = '%s' / %s = '%s' / %s = '%s' / %s = '%s' / %s = '%d'",
      "service", element.ServiceName, "att. name", element.AttributeName, "invoc. name",
      element.InvocationName, "att. value", element.AttributeValue, "compuls", element.Compulsory);
  if (element.InvocationName == nullptr &&
      CreateInvocationWSize(post.tpl, element.ServiceName, post.newInvocationName,
                            sizeof(post.newInvocationName)) != 0) {
    element.InvocationName = post.newInvocationName;
  }
  if (element.AttributeValue != nullptr) write_value(post, element);
}

void record_failure(Applying& post, const char* attribute) {
  if (post.failedOnce != FALSE) append_text(post.request.Reason, ",");
  append_text(post.request.Reason, attribute);
  post.failedOnce = TRUE;
}

// Removes the listed values. Each turn first records the failure of the operation before it, so the
// last removal of a post is never recorded.
void remove_values(Applying& post, HTTP_PARSER_Set_Element& element) {
  char* remainder = nullptr;
  char* value = strtok_r(element.AttributeValue, ",", &remainder);
  LOG_LINE(LOG_LEVEL_UNUSUAL, "Delete value '%s' / attribute '%s' / service '%s'",
           element.AttributeValue, element.AttributeName, element.ServiceName);
  for (; value != nullptr; value = strtok_r(nullptr, ",", &remainder)) {
    if (post.ret != TRUE) record_failure(post, element.AttributeName);
    post.ret = RemoveAttributeStringWInvoc(post.tpl, element.ServiceName, element.InvocationName,
                                           element.AttributeName, value);
  }
}

void delete_metadata(Applying& post, const HTTP_PARSER_Set_Element& element) {
  LOG_LINE(LOG_LEVEL_UNUSUAL, "Deleting something to do with MetaData!");
  if (element.AttributeName != nullptr) {
    LOG_LINE(LOG_LEVEL_SUCCESS, "DeleteAttributeWInvoc");
    post.ret = DeleteAttributeWInvoc(post.tpl, element.ServiceName, element.InvocationName,
                                     element.AttributeName);
  } else {
    LOG_LINE(LOG_LEVEL_SUCCESS, "DeleteMetaDataInvocation");
    post.ret = DeleteMetaDataInvocation(post.tpl, element.InvocationName);
  }
}

// Deletes what the element names most closely.
void delete_closest(Applying& post, HTTP_PARSER_Set_Element& element) {
  char* service = element.ServiceName;
  if (element.AttributeName != nullptr && !is_empty(element.AttributeValue)) {
    remove_values(post, element);
  } else if (element.AttributeName != nullptr) {
    LOG_LINE(LOG_LEVEL_UNUSUAL, "Deleting attribute '%s' of service '%s'", element.AttributeName,
             service);
    post.ret =
        DeleteAttributeWInvoc(post.tpl, service, element.InvocationName, element.AttributeName);
  } else if (element.InvocationName != nullptr) {
    LOG_LINE(LOG_LEVEL_UNUSUAL, "Deleting invocation '%s' of service '%s'", element.InvocationName,
             service);
    post.ret = DeleteInvocation(post.tpl, service, element.InvocationName);
  } else {
    LOG_LINE(LOG_LEVEL_UNUSUAL, "Deleting entire service '%s'", service);
    post.ret = DeleteService(post.tpl, service);
  }
}

void apply_delete(Applying& post, HTTP_PARSER_Set_Element& element) {
  LOG_LINE(LOG_LEVEL_UNUSUAL, "Delete action: %s = '%s' / %s = '%s' / %s = '%s'", "service",
           element.ServiceName, "att. name", element.AttributeName, "invoc. name",
           element.InvocationName);
  if (starts_with(element.ServiceName, kMetadataService)) {
    delete_metadata(post, element);
  } else {
    delete_closest(post, element);
  }
}

void apply_edits(Applying& post, std::span<HTTP_PARSER_Set_Element> elements) {
  set_text(post.request.Reason, "Couldn't set attribute : ");
  for (HTTP_PARSER_Set_Element& element : elements) {
    if (equals(element.Action, "update")) apply_update(post, element);
    if (equals(element.Action, "delete")) apply_delete(post, element);
  }
}

// Marks the template with its device definition, saves and closes it. Returns the handler's result.
int finish_post(Applying& post) {
  post.ret = WriteAttributeEnumWInvoc(post.tpl, kGeneralService, nullptr, "enum_KLV",
                                      "KLVDefinitionUsed", JT_GEN_KLV_GENERIC);
  close_template(&post.request, Changes::save);
  if (post.failedOnce != FALSE || post.ret != TRUE) {
    LOG_LINE(LOG_LEVEL_ERROR, "failedOnce = %d, ret = %d", post.failedOnce, post.ret);
    return 1;
  }
  set_text(post.request.Reason, "");
  return 0;
}

// ---- Copy. ----

// What tells one copying handler from another: where its bare file names belong.
struct CopyPlan {
  const char* source_directory;  // null: the source field holds a full path
  const char* destination_directory;
};

constexpr CopyPlan kCopy = {nullptr, "/tmp/template/pool/web"};
constexpr CopyPlan kRestoreDefaults = {"/tmp/template/pool/factory", kSystemPool};

// A path of a copy, borrowed from the form or built and owned.
struct CopyPath {
  MallocText built;
  const char* text = nullptr;  // null: not given
  bool fits = true;
};

struct CopyPaths {
  CopyPath from;
  CopyPath to;
};

CopyPath borrow_path(const char* value) { return {nullptr, value, true}; }

CopyPath build_path(const char* directory, const char* value) {
  MallocText built = allocate_text(kSource, kPathBuffer, "malloc failed! Exiting!");
  if (!format_into(built.get(), kPathSize, "%s/%s", directory, text_or_empty(value))) {
    return {nullptr, nullptr, false};
  }
  const char* text = built.get();
  return {std::move(built), text, true};
}

void read_source(const CopyPlan& plan, const char* value, CopyPaths& paths) {
  LOG_LINE(LOG_LEVEL_VALUES, "Setting copyFrom to %s", value);
  if (plan.source_directory == nullptr) {
    paths.from = borrow_path(value);
    return;
  }
  paths.from = build_path(plan.source_directory, value);
  if (paths.from.fits) LOG_LINE(LOG_LEVEL_VALUES, "copyFrom = %s", paths.from.text);
}

void read_destination(const char* directory, const char* value, CopyPaths& paths) {
  LOG_LINE(LOG_LEVEL_VALUES, "Setting copyTo to %s", value);
  // The buffer of an earlier destination is not released.
  static_cast<void>(paths.to.built.release());
  paths.to = build_path(directory, value);
  if (paths.to.fits) LOG_LINE(LOG_LEVEL_VALUES, "copyTo = %s", paths.to.text);
}

CopyPaths read_copy_paths(const CopyPlan& plan, FormEntries entries) {
  CopyPaths paths;
  for (const FormEntry& entry : entries) {
    if (equals(entry.name, "ParserFilename")) read_source(plan, entry.val, paths);
    if (equals(entry.name, "DefaultParserFilename")) {
      LOG_LINE(LOG_LEVEL_VALUES, "Using default: Setting copyFrom to %s", entry.val);
      paths.from = borrow_path(entry.val);
    }
    if (equals(entry.name, "CopyParserFilename")) {
      read_destination(plan.destination_directory, entry.val, paths);
    }
    if (equals(entry.name, "CopyParserFilenameMailbox")) {
      read_destination("/tmp/template/pool/mailbox", entry.val, paths);
    }
  }
  return paths;
}

// The destination of a copy that was given none.
CopyPath default_destination(const char* copyFrom) {
  const std::size_t size = std::strlen(copyFrom) + sizeof("(Copy)");
  MallocText temp = allocate_text(kSource, size, "QALOCN failed! Exiting!");
  format_into(temp.get(), size, "(Copy)%s", copyFrom);
  const char* text = temp.get();
  return {std::move(temp), text, true};
}

// Writes the copy's file name into it. Returns false when the store could not; a copy that cannot
// be opened keeps the name of its source, which is no failure.
bool stamp_name(QVN_AppData& request, const char* copyTo) {
  const std::size_t size = std::strlen(copyTo) + sizeof("|O_RDWR");
  MallocText filename = allocate_text(kSource, size, "QALOCN failed! Exiting!");
  format_into(filename.get(), size, "%s|O_RDWR", copyTo);
  HTTP_Open_Parser_fn(&request, filename.get());
  filename.reset();
  bool_t ret = TRUE;
  if (has_opened_template(request)) {
    const char* slash = std::strrchr(copyTo, '/');
    ret = WriteAttributeStringWInvoc(open_template(request), kGeneralService, nullptr,
                                     "JobTemplateName", slash != nullptr ? slash + 1 : copyTo);
  }
  close_template(&request, Changes::save);
  return ret == TRUE;
}

int copy_template(const CopyPlan& plan, QVN_AppData& request, FormEntries entries) {
  CopyPaths paths = read_copy_paths(plan, entries);
  if (paths.from.text == nullptr && paths.from.fits) {
    LOG_LINE(LOG_LEVEL_ERROR, "copyFrom == NULL");
    return 1;
  }
  if (!paths.from.fits || !paths.to.fits) {
    LOG_LINE(LOG_LEVEL_ERROR, "Couldn't copy template!");
    return 1;
  }
  const char* copyFrom = paths.from.text;
  if (paths.to.text == nullptr) paths.to = default_destination(copyFrom);
  const char* copyTo = paths.to.text;
  LOG_LINE(LOG_LEVEL_VALUES, "copyFrom = %s", copyFrom);
  LOG_LINE(LOG_LEVEL_VALUES, "copyTo = %s", copyTo);
  if (equals(copyTo, kDefaultTemplate)) {
    LOG_LINE(LOG_LEVEL_ERROR, "HTTP_Parser_Copy attempting to overwrite default template");
    return 1;
  }
  if (CopyCKwtTemplate(copyFrom, copyTo) == KWT_SUCCESS && stamp_name(request, copyTo)) return 0;
  format_into(request.Reason, sizeof(request.Reason), "Couldn't Copy Template from: %s to %s.\r\n",
              copyFrom, copyTo);
  LOG_LINE(LOG_LEVEL_ERROR, "Couldn't copy template!");
  return 1;
}

// ---- Listings. ----

char* template_directory(QVN_AppData* udata, char* arg) {
  char name[] = "TemplateDir";
  return TempSuppGetArgument(udata, arg, name);
}

bool is_made_by_scan_driver(QVN_AppData* udata, char* directory, char* file_name) {
  char fileFullPath[kPathSize];
  char service[] = "qvn_svc_general";
  char attribute[] = "JobTemplateCreator";
  TempSuppGetTempFullPath(directory, file_name, fileFullPath);
  const char* creator = TempSuppGetAttributeValue(udata, fileFullPath, service, attribute);
  return equals(creator, "WIA") || equals(creator, "TWAIN");
}

void print_template_name(QVN_AppData* udata, const char* name, bool first) {
  const ListName escaped(kSource, name, kListName);
  adiprintf(udata, first ? "%s" : " %s", escaped.c_str());
}

char* invocations_service(const QVN_AppData& request, char* arg) {
  if (!is_empty(arg)) {
    LOG_LINE(LOG_LEVEL_VALUES, "Argument passed into function: %s", arg);
    return arg;
  }
  LOG_LINE(LOG_LEVEL_VALUES, "Trying to find HTTP_PARSER_FORM_INVOCATION_NAME");
  char* name = nullptr;
  for (const FormEntry& entry : form_entries(request)) {
    if (!equals(entry.name, "InvocationName")) continue;
    name = entry.val;
    LOG_LINE(LOG_LEVEL_VALUES, "Found HTTP_PARSER_FORM_INVOCATION_NAME: %s", name);
  }
  return name;
}

// ---- Metadata fields and destinations. ----

// The first value of an attribute, which the store keeps until its values are released, or null.
const char* first_value(TemplateObject* tpl, const char* service, const char* invocation,
                        const char* attribute) {
  return ReadAttributeStringWInvocUseFirstAsString(tpl, service, invocation, attribute, TRUE);
}

void print_metadata_arrays(QVN_AppData* udata) {
  adiprintf(udata, "var defaultValue       = new Array();\n");
  adiprintf(udata, "var fieldLabel         = new Array();\n");
  adiprintf(udata, "var fieldName          = new Array();\n");
  adiprintf(udata, "var invocationName     = new Array();\n");
  adiprintf(udata, "var maskUserInput      = new Array();\n");
  adiprintf(udata, "var requireUserInput   = new Array();\n");
  adiprintf(udata, "var validateData\t      = new Array();\n");
}

void print_metadata_field(QVN_AppData* udata, const char* invocation, int invocationCounter) {
  TemplateObject* tpl = open_template(*udata);
  const auto value = [&](const char* attribute) {
    return first_value(tpl, kMetadataService, invocation, attribute);
  };
  const auto full = [](const char* text) { return ScriptText(kSource, text, kScriptText); };
  const auto brief = [](const char* text) {
    return ScriptTextWithSlashes(kSource, text, kScriptText);
  };
  const char* default_value = value("MetaDataDefaultValue");
  const char* prompt = value("MetaDataPrompt");
  const char* field_name = value("MetaDataFieldName");
  const char* masking = value("MetaDataMaskingRequired");
  const char* entry = value("MetaDataRequiredEntry");
  const char* validation = value("MetaDataValidationRequired");
  adiprintf(udata, "defaultValue[%d]        = \"%s\";\n", invocationCounter,
            full(default_value).c_str());
  adiprintf(udata, "fieldLabel[%d]          = \"%s\";\n", invocationCounter, full(prompt).c_str());
  adiprintf(udata, "fieldName[%d]           = \"%s\";\n", invocationCounter,
            full(field_name).c_str());
  adiprintf(udata, "maskUserInput[%d]       = \"%s\";\n", invocationCounter,
            brief(masking).c_str());
  adiprintf(udata, "requireUserInput[%d]    = \"%s\";\n", invocationCounter, brief(entry).c_str());
  adiprintf(udata, "validateData[%d]        = \"%s\";\n", invocationCounter,
            brief(validation).c_str());
  adiprintf(udata, "invocationName[%d]      = \"%s\";\n", invocationCounter, invocation);
}

void print_destination(QVN_AppData* udata, const char* prefix, const char* invocation) {
  TemplateObject* tpl = open_template(*udata);
  const auto value = [&](const char* attribute) {
    return text_or_empty(first_value(tpl, "qvn_svc_file", invocation, attribute));
  };
  const char* path = value("DocumentPath");
  const char* policy = value("DocumentFilingPolicy");
  const char* protocol = value("FilingProtocol");
  const char* alias = value("RepositoryAlias");
  const char* login = value("LoginName");
  const char* repository = value("RepositoryName");
  const char* volume = value("RepositoryVolume");
  adiprintf(udata, "%s%s,%s,%s,%s,%s,%s,%s,%s", prefix, invocation, protocol, repository, path,
            alias, volume, login, policy);
}

// ---- Clone groups. ----

constexpr std::size_t kMostTokens = 50;
constexpr std::size_t kTokenLine = 200;
constexpr std::size_t kConditionLine = 2048;
constexpr std::size_t kValueSize = 1064;
constexpr std::size_t kConditionValueSize = 20;

// The clone file, read line by line; a line of `kSize` bytes or more comes in pieces.
template <std::size_t kSize>
class CloneFile {
 public:
  CloneFile() {
    const char* directory = xpaths_get_path("nc_dlms_data");
    if (directory != nullptr) {
      file_ = xpaths_open_file(directory, "clone/data/clone_file_webui", "rb");
    }
    if (file_ == nullptr) LOG_LINE(LOG_LEVEL_ERROR, "Can't open clone web file");
  }
  ~CloneFile() {
    if (file_ != nullptr) std::fclose(file_);
  }

  CloneFile(const CloneFile&) = delete;
  CloneFile& operator=(const CloneFile&) = delete;

  // Moves to the next line that has a ",". Returns false at the end and for a missing file.
  bool next_record() {
    while (file_ != nullptr && std::fgets(line_, kSize, file_) != nullptr) {
      char* comma = std::strchr(line_, ',');
      if (comma == nullptr) continue;
      char* end = std::strchr(comma + 1, ',');
      if (end != nullptr) *end = '\0';
      token_ = number(comma + 1);
      third_ = end != nullptr ? end + 1 : nullptr;
      return true;
    }
    return false;
  }

  // Moves to the first record of a group token. Returns false when there is none.
  bool find_record(int token) {
    while (next_record()) {
      if (token_ == token) return true;
    }
    return false;
  }

  static int number(const char* text) { return static_cast<int>(std::strtol(text, nullptr, 10)); }

  int token() const { return token_; }
  // Field 3 and what follows it in the line, or null.
  char* third() const { return third_; }

 private:
  std::FILE* file_ = nullptr;
  char line_[kSize] = "";
  int token_ = 0;
  char* third_ = nullptr;
};

// Splits a condition `key == value`; a text without "==" is none.
void split_condition(char* condition, char* optCondStr, char* optCondVal) {
  constexpr std::size_t kOperator = sizeof("== ") - 1;
  char* operation = std::strstr(condition, "==");
  *optCondStr = '\0';
  *optCondVal = '\0';
  if (operation == nullptr) return;
  if (std::strlen(operation) > kOperator) {
    copy_bounded(optCondVal, operation + kOperator, kConditionValueSize);
  }
  if (operation == condition) return;
  operation[-1] = '\0';
  copy_bounded(optCondStr, condition, kValueSize);
}

// Tells whether a group is to be shown: it is in the file and its condition, if any, holds.
bool is_group_offered(int token) {
  char optCondStr[kValueSize + 1] = "";
  char optCondVal[kConditionValueSize + 1] = "";
  char attrValue[kValueSize + 1] = "";
  if (FnGetOptionalConditon(token, optCondStr, optCondVal) == 0) return false;
  if (is_empty(optCondStr)) return true;
  if (Cfg_GetAttrValue(optCondStr, attrValue, kValueSize) != 0) {
    LOG_LINE(LOG_LEVEL_ERROR, "Value for %s could not be retrieved from the Config Server",
             optCondStr);
    return false;
  }
  if (!equals(attrValue, optCondVal)) {
    LOG_LINE(LOG_LEVEL_ERROR, "OptionCondition is not satisfied");
    return false;
  }
  return true;
}

// The name of a group or sub-group, or null, which is logged.
const char* translated(int token, const char* displayLang) {
  char tempToken[20];
  format_into(tempToken, sizeof(tempToken), "%d?", token);
  const char* name = Server_Translate_Phrase(tempToken, displayLang);
  if (name == nullptr) LOG_LINE(LOG_LEVEL_ERROR, "Unable to translate the token %d", token);
  return name;
}

// The text of all groups, as far as it fits.
struct GroupNames {
  char text[2048] = "";
  int atLeastOneSubGroup = 0;  // never cleared: every group after the first sub-group ends alike
};

void append_group(GroupNames& groupNames, int token, const char* name, const char* displayLang) {
  char key[20];
  format_into(key, sizeof(key), "%d", token);
  for (const char* piece : {static_cast<const char*>(key), ",", name, ","}) {
    append_text(groupNames.text, piece);
  }
  int subGrpTokens[kMostTokens];
  const int noOfSubGroupTokens = FnGetSubStringTokens(token, subGrpTokens);
  for (int i = 0; i < noOfSubGroupTokens; ++i) {
    const char* sub_name = translated(subGrpTokens[i], displayLang);
    if (sub_name == nullptr) continue;
    ++groupNames.atLeastOneSubGroup;
    append_text(groupNames.text, sub_name);
    append_text(groupNames.text, "?");
  }
  if (groupNames.atLeastOneSubGroup != 0) append_text(groupNames.text, ",");
}

const char* display_language(const QVN_AppData& request) {
  const char* displayLang = Server_Translate_Phrase("9998?", request.preferredLang);
  if (displayLang == nullptr) {
    LOG_LINE(LOG_LEVEL_WARNING, "Could not translate language token");
    displayLang = "en-us";
  }
  LOG_LINE(LOG_LEVEL_LANGUAGE, "displayLang = %s", displayLang);
  return displayLang;
}

}  // namespace

// ---- Exported functions. ----

ap_status_t HTTP_Parser_Init(void) {
  const FunctionTrace trace(kSource);
  return AP_EC_OK;
}

void HTTP_Open_Parser_fn(QVN_AppData* udata, char* arg) {
  const FunctionTrace trace(kSource);
  require(kSource, udata, "NULL udata pointer! Exiting!");
  char* argument = is_empty(arg) ? last_value(form_entries(*udata), "ParserFilename") : arg;
  if (is_empty(argument)) {
    LOG_LINE(LOG_LEVEL_NOTICE, "The argument to HTTP_Open_Parser_fn is NULL");
    return;
  }
  if (udata->parserTemplate != nullptr) discard_open_template(*udata);
  open_argument(*udata, argument);
}

void HTTP_Close_Parser_fn(QVN_AppData* udata, char* arg) {
  const FunctionTrace trace(kSource);
  require(kSource, udata, "udata is NULL! Exiting!");
  TemplateObject* tpl = open_template(*udata);
  if (tpl == nullptr) {
    LOG_LINE(LOG_LEVEL_VALUES, "Nothing to close.");
    return;
  }
  const char* name = GetFileName(tpl);
  if (name != nullptr && udata->outfs != nullptr) {
    adiprintf(udata, "<input type=\"hidden\" name=\"%s\" value=\"%s\">", "DefaultParserFilename",
              name);
  }
  Close(tpl, equals(arg, "TRUE") ? 1 : 0);
  DestructorCKwtTemplate(tpl);
  release_template(*udata);
  LOG_LINE(LOG_LEVEL_SUCCESS, "HTTP_Close_Parser_fn Successful.");
}

void HTTP_Parser_Get_fn(QVN_AppData* udata, char* arg) {
  const FunctionTrace trace(kSource);
  require(kSource, udata, "udata pointer is NULL! Exiting!");
  if (udata->parserTemplate == nullptr) {
    LOG_LINE(LOG_LEVEL_NOTICE, "HTTP_Parser_Get_fn called with NULL udata->parserTemplate!");
    return;
  }
  print_attribute(*udata, arg, print_item);
}

void HTTP_Parser_JS_Get_fn(QVN_AppData* udata, char* arg) {
  const FunctionTrace trace(kSource);
  require(kSource, udata, "udata is NULL! Exiting!");
  if (udata->parserTemplate == nullptr) {
    LOG_LINE(LOG_LEVEL_SUCCESS, "udata->parserTemplate is NULL!");
    return;
  }
  print_attribute(*udata, arg, print_script_item);
}

int HTTP_Parser_Set_fn(QVN_AppData* udata, FormEntry* entries, int nEntries) {
  const FunctionTrace trace(kSource);
  require(kSource, udata, "udata is NULL! Exiting!");
  const FormEntries posted = form_entries(entries, nEntries);
  PostedNames names = read_names(posted);
  if (!choose_template(*udata, posted, names)) return 1;
  Gathering edits;
  allocate_elements(edits, names.nElem);
  HTTP_Open_Parser_fn(udata, names.filename);
  if (!gather_edits(open_template(*udata), posted, edits)) {
    set_text(udata->Reason, "Service name not found");
    close_template(udata, Changes::save);
    return 1;
  }
  Applying post{*udata, open_template(*udata)};
  apply_edits(post, {edits.setRequest.get(), edits.nGoodElem});
  return finish_post(post);
}

void PrivSaveMultiValue(QVN_AppData* inUdata, HTTP_PARSER_Set_Element* inElement,
                        char* inSeparator) {
  bool_t failedAlready = FALSE;
  bool_t firstWrite = TRUE;
  char* remainingValue = nullptr;
  char* valueToSave = strtok_r(inElement->AttributeValue, inSeparator, &remainingValue);
  while (valueToSave != nullptr) {
    LOG_LINE(LOG_LEVEL_UNUSUAL, "Attribute value broken on '%s' = %s", inSeparator, valueToSave);
    const bool_t returnValue = WriteAttributeFromStringUseFirst(
        open_template(*inUdata), inElement->ServiceName, inElement->InvocationName,
        inElement->AttributeName, inElement->AttributeType, valueToSave, firstWrite,
        inElement->Compulsory);
    if (returnValue == FALSE) {
      LOG_LINE(LOG_LEVEL_ERROR, "Unable to write abbribute = %s", inElement->AttributeName);
      if (failedAlready != FALSE) append_text(inUdata->Reason, ",");
      append_text(inUdata->Reason, inElement->AttributeName);
      failedAlready = TRUE;
    }
    firstWrite = FALSE;
    valueToSave = strtok_r(nullptr, inSeparator, &remainingValue);
  }
  LOG_LINE(LOG_LEVEL_UNUSUAL, "Finished multi-value save!");
}

int HTTP_Parser_Copy_fn(QVN_AppData* udata, FormEntry* entries, int nEntries) {
  const FunctionTrace trace(kSource);
  require(kSource, udata, "Invalid NULL parameter! Exiting!");
  require(kSource, entries, "Invalid NULL parameter! Exiting!");
  return copy_template(kCopy, *udata, form_entries(entries, nEntries));
}

int HTTP_Parser_Restore_Defaults_fn(QVN_AppData* udata, FormEntry* entries, int nEntries) {
  const FunctionTrace trace(kSource);
  require(kSource, udata, "Invalid NULL parameter! Exiting!");
  require(kSource, entries, "Invalid NULL parameter! Exiting!");
  return copy_template(kRestoreDefaults, *udata, form_entries(entries, nEntries));
}

int HTTP_Parser_Delete_fn(QVN_AppData* udata, FormEntry* entries, int nEntries) {
  const FunctionTrace trace(kSource);
  require(kSource, udata, "udata is NULL! Exiting!");
  const FormEntry* entry = first_entry(form_entries(entries, nEntries), "ParserFilename");
  if (entry == nullptr) {
    LOG_LINE(LOG_LEVEL_ERROR, "Filename not found in entries!");
    return 1;
  }
  if (ValidTemplatePath(entry->val) != TRUE) {
    LOG_LINE(LOG_LEVEL_ERROR, "*** Invalid template path!");
    return 1;
  }
  if (equals(entry->val, kDefaultTemplate)) {
    LOG_LINE(LOG_LEVEL_ERROR, "HTTP_Parser_Delete called on default template!");
    return 1;
  }
  return DeleteCKwtTemplateWFilename(entry->val) == 1 ? 0 : 1;
}

void HTTP_Parser_List_fn(QVN_AppData* udata, char* arg) {
  const FunctionTrace trace(kSource);
  require(kSource, udata, "udata is NULL! Exiting!");
  const TemplatePool pool(template_directory(udata, arg));
  for (const auto* node = pool.first(); node != nullptr; node = node->next) {
    print_template_name(udata, node->szFileName, node == pool.first());
  }
}

void HTTP_Parser_List_Non_WIA_fn(QVN_AppData* udata, char* arg) {
  const FunctionTrace trace(kSource);
  require(kSource, udata, "udata is NULL! Exiting!");
  char* directory = template_directory(udata, arg);
  if (directory == nullptr) {
    LOG_LINE(LOG_LEVEL_ERROR, "The path for HTTP_Parser_List_Non_WIA_fn is NULL! Exiting now!");
    return;
  }
  const TemplatePool pool(directory);
  bool firstOne = true;
  for (const auto* node = pool.first(); node != nullptr; node = node->next) {
    if (is_made_by_scan_driver(udata, directory, node->szFileName)) continue;
    print_template_name(udata, node->szFileName, firstOne);
    firstOne = false;
  }
}

void HTTP_Parser_List_Invocations_fn(QVN_AppData* udata, char* arg) {
  const FunctionTrace trace(kSource);
  require(kSource, udata, "udata is NULL! Exiting!");
  if (udata->parserTemplate == nullptr) {
    LOG_LINE(LOG_LEVEL_ERROR, "udata->parserTemplate is NULL!");
    return;
  }
  const INVOCATION_STRUCT* first =
      ListInvocations(open_template(*udata), invocations_service(*udata, arg));
  LOG_LINE(LOG_LEVEL_VALUES, "About to enter while loop.");
  for (const auto* node = first; node != nullptr; node = node->next) {
    if (node != first) adiprintf(udata, ",");
    adiprintf(udata, "%s", node->szInvocationName);
  }
}

void HTTP_Parser_Print_Meta_Data_Attributes_fn(QVN_AppData* udata, char* /*arg*/) {
  const FunctionTrace trace(kSource);
  if (udata == nullptr || udata->parserTemplate == nullptr) {
    LOG_LINE(LOG_LEVEL_ERROR, "Invalid parameters.");
    return;
  }
  const INVOCATION_STRUCT* first = ListInvocations(open_template(*udata), kMetadataService);
  LOG_LINE(LOG_LEVEL_UNUSUAL, "  Returned from ListInvocations().");
  print_metadata_arrays(udata);
  int invocationCounter = 0;
  for (const auto* node = first; node != nullptr; node = node->next) {
    print_metadata_field(udata, node->szInvocationName, invocationCounter++);
  }
}

void HTTP_Parser_List_Destinations_fn(QVN_AppData* udata, char* /*arg*/) {
  const auto trace = FunctionTrace::exit_only(kSource);
  require(kSource, udata, "udata is NULL! Exiting!");
  if (udata->parserTemplate == nullptr) {
    LOG_LINE(LOG_LEVEL_ERROR, "udata->parserTemplate is NULL!");
    return;
  }
  const INVOCATION_STRUCT* first = ListInvocations(open_template(*udata), "qvn_svc_file");
  for (const auto* node = first; node != nullptr; node = node->next) {
    print_destination(udata, node == first ? "" : "&", node->szInvocationName);
  }
}

void HTTP_Parser_Clone_fn(QVN_AppData* udata, char* /*arg*/) {
  const FunctionTrace trace(kSource);
  require(kSource, udata, "udata is NULL! Exiting!");
  const char* displayLang = display_language(*udata);
  int grpTokens[kMostTokens];
  const int noOfTokens = FnGetGroupTokens(grpTokens);
  GroupNames groupNames;
  for (int i = 0; i < noOfTokens; ++i) {
    if (!is_group_offered(grpTokens[i])) continue;
    const char* name = translated(grpTokens[i], displayLang);
    if (name != nullptr) append_group(groupNames, grpTokens[i], name, displayLang);
  }
  const std::size_t length = text_length(groupNames.text);
  if (length > 0) groupNames.text[length - 1] = '\0';
  adiprintf(udata, "%s", groupNames.text);
}

int FnGetGroupTokens(int* tokens) {
  CloneFile<kTokenLine> file;
  std::size_t count = 0;
  while (count < kMostTokens && file.next_record()) tokens[count++] = file.token();
  return static_cast<int>(count);
}

int FnGetSubStringTokens(int tokenEntered, int* tokens) {
  CloneFile<kTokenLine> file;
  if (!file.find_record(tokenEntered) || file.third() == nullptr) return 0;
  char* fourth = std::strchr(file.third(), ',');
  if (fourth == nullptr) return 0;
  std::size_t count = 0;
  char* rest = nullptr;
  char* piece = strtok_r(fourth, ",", &rest);
  for (; piece != nullptr && count < kMostTokens; piece = strtok_r(nullptr, ",", &rest)) {
    const int token = CloneFile<kTokenLine>::number(piece);
    if (token != 0) tokens[count++] = token;
  }
  return static_cast<int>(count);
}

int FnGetOptionalConditon(int tokenEntered, char* optCondStr, char* optCondVal) {
  CloneFile<kConditionLine> file;
  if (!file.find_record(tokenEntered)) return 0;
  char none[] = "";
  char* condition = file.third() != nullptr ? file.third() : none;
  char* end = std::strchr(condition, ',');
  if (end != nullptr) *end = '\0';
  split_condition(condition, optCondStr, optCondVal);
  return 1;
}

bool_t ValidTemplatePath(char* checkPath) {
  for (const char* root : kTemplateRoots) {
    if (starts_with(checkPath, root)) return std::strstr(checkPath, "..") == nullptr ? TRUE : FALSE;
  }
  return FALSE;
}
