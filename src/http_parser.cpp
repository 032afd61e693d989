// Parser functions of the template pages: open and close, attribute output.
// SPDX-License-Identifier: MIT
#include "http_parser.h"

#include <fcntl.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <type_traits>

#include "log.h"
#include "request.h"
#include "server.h"
#include "templateWrapper.h"
#include "text.h"
#include "trace.h"

static constexpr char kSource[] = "http_parser.cpp";
static constexpr char kSystemPool[] = "/tmp/template/pool/system";
static constexpr char kPoolRoot[] = "/tmp/template/pool";
static constexpr const char* kTemplateRoots[] = {kSystemPool, kPoolRoot, "/tarn/template/pool",
                                                 "/var/spool/nc/image_store/s2mailbox/"};

static_assert(std::is_standard_layout_v<QVN_AppData> && sizeof(QVN_AppData::Reason) == 201);

// ---- Open and close. ----

static void release_template(QVN_AppData& request) {
  std::free(request.parserTemplate);
  request.parserTemplate = nullptr;
}

// Closes without saving; nothing of the old template stays in the record, whatever the close did.
static void discard_open_template(QVN_AppData& request) {
  LOG_LINE(LOG_LEVEL_UNUSUAL, "udata->parserTemplate is not null? Cleanup.");
  close_template(&request, Changes::discard);
  release_template(request);
  LOG_LINE(LOG_LEVEL_VALUES, "udata->parserTemplate has been closed and freed.");
}

static TemplateObject* allocate_template(QVN_AppData& request) {
  LOG_LINE(LOG_LEVEL_VALUES, "Allocing memory for udata->parserTemplate.");
  request.parserTemplate = std::calloc(1, sizeof(TemplateObject));
  require(kSource, request.parserTemplate, "Could not allocate memory for udata->parserTemplate!");
  return open_template(request);
}

// Opens what `argument`, PATH or PATH|MODE, names; the argument is cut at the end of the path.
static void open_argument(QVN_AppData& request, char* argument) {
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
static ParserObject argument_words(char* arg) {
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

static char* given_or(char* word, FormEntries entries, const char* entry_name) {
  return word != nullptr ? word : last_value(entries, entry_name);
}

// The attribute that a tag addresses: each part by its word, else by the form.
static ParserObject attribute_address(const QVN_AppData& request, char* arg) {
  const ParserObject attributes = argument_words(arg);
  const FormEntries entries = form_entries(request);
  return {given_or(attributes.serviceName, entries, "ServiceName"),
          given_or(attributes.invocationName, entries, "InvocationName"),
          given_or(attributes.attributeName, entries, "AttributeName"),
          given_or(attributes.attributeType, entries, "AttributeType")};
}

// Prints one value of a list; the first one has no separator (null).
static void print_item(QVN_AppData& request, const char* separator, const char* text) {
  if (separator == nullptr) {
    adiprintf(&request, "%s", text);
  } else {
    adiprintf(&request, "%s%s", separator, text);
  }
}

// As print_item, escaped for a string of a script. Slashes of all but the first value stay bare:
// the pages that split these lists expect them so.
static void print_script_item(QVN_AppData& request, const char* separator, const char* text) {
  const EscapedText escaped(kSource, text, kScriptText);
  print_item(request, separator,
             separator == nullptr ? escaped.c_str() : escaped.without_last_row());
}

// Prints every value of the addressed attribute with `print`.
static void print_attribute(QVN_AppData& request, char* arg,
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

bool_t ValidTemplatePath(char* checkPath) {
  for (const char* root : kTemplateRoots) {
    if (starts_with(checkPath, root)) return std::strstr(checkPath, "..") == nullptr ? TRUE : FALSE;
  }
  return FALSE;
}
