// The doubles of the module, the store and the device services.
// SPDX-License-Identifier: MIT
#include "page_fixture.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "device/configuration.h"
#include "device/log.h"
#include "device/messages.h"
#include "device/phrases.h"
#include "platform/configapi.h"
#include "platform/log.h"
#include "platform/server.h"
#include "platform/xpaths.h"

namespace platen {
namespace {

ModuleDouble double_;
TemplateObject open_template_;
std::string open_path_;

void note_call(const char* function, QVN_AppData* udata, const char* arg) {
  double_.calls.push_back(std::string(function) + "(" + arg + ")" +
                          (udata->outfs == nullptr ? "" : "+page"));
  double_.entries.clear();
  for (int i = 0; i < udata->num_entries; ++i) {
    double_.entries.push_back(std::string(udata->entries[i].name) + "=" + udata->entries[i].val);
  }
  double_.language = udata->preferredLang;
}

// Opens any path but one that contains "missing"; cuts its argument as the module does.
void open(QVN_AppData* udata, char* arg) {
  note_call("Open", udata, arg);
  char* path = arg;
  for (int i = 0; arg[0] == '\0' && i < udata->num_entries; ++i) {
    if (std::strcmp(udata->entries[i].name, "ParserFilename") == 0) path = udata->entries[i].val;
  }
  if (path[0] == '\0') return;
  path[std::strcspn(path, "|")] = '\0';
  open_path_ = path;
  open_template_ = {};
  udata->parserTemplate = &open_template_;
  if (open_path_.find("missing") != std::string::npos) {
    std::snprintf(udata->Reason, sizeof udata->Reason, "Template not available : %s", path);
    double_.open_error = open_path_ + ":2:3: unexpected word";
    return;
  }
  open_template_.m_filename = open_path_.data();
}

void close(QVN_AppData* udata, char* arg) {
  note_call("Close", udata, arg);
  if (udata->parserTemplate != nullptr && open_template_.m_filename != nullptr &&
      udata->outfs != nullptr) {
    adiprintf(udata, "<input type=\"hidden\" name=\"%s\" value=\"%s\">", "DefaultParserFilename",
              open_template_.m_filename);
  }
  udata->parserTemplate = nullptr;
}

std::string with_backslashes(const std::string& text, bool slash) {
  std::string out;
  for (const char c : text) {
    if (c == '\\' || c == '\'' || c == '"' || (slash && c == '/')) out += '\\';
    out += c;
  }
  return out;
}

void get(QVN_AppData* udata, char* arg) {
  note_call("Get", udata, arg);
  if (double_.prints_unknown_format) adiprintf(udata, "<b>%s</b>", "x");
  for (size_t i = 0; i < double_.values.size(); ++i) {
    if (i == 0) {
      adiprintf(udata, "%s", double_.values[i].c_str());
    } else {
      adiprintf(udata, "%s%s", ",", double_.values[i].c_str());
    }
  }
}

void js_get(QVN_AppData* udata, char* arg) {
  note_call("JS_Get", udata, arg);
  for (size_t i = 0; i < double_.values.size(); ++i) {
    const std::string text = with_backslashes(double_.values[i], i == 0);
    if (i == 0) {
      adiprintf(udata, "%s", text.c_str());
    } else {
      adiprintf(udata, "%s%s", ",", text.c_str());
    }
  }
}

// Leaves behind what a file of the pool that did not open leaves.
void list_non_wia(QVN_AppData* udata, char* arg) {
  note_call("List_Non_WIA", udata, arg);
  udata->parserTemplate = &open_template_;
  std::snprintf(udata->Reason, sizeof udata->Reason, "Template not available : of the pool");
  for (const std::string& value : double_.values) {
    if (value == double_.values[0]) {
      adiprintf(udata, "%s", with_backslashes(value, false).c_str());
    } else {
      adiprintf(udata, " %s", with_backslashes(value, false).c_str());
    }
  }
}

void list_invocations(QVN_AppData* udata, char* arg) {
  note_call("List_Invocations", udata, arg);
  for (size_t i = 0; i < double_.values.size(); ++i) {
    if (i > 0) adiprintf(udata, ",");
    adiprintf(udata, "%s", double_.values[i].c_str());
  }
}

// Every form handler.
int handle_form(QVN_AppData* udata, FormEntry* entries, int count) {
  note_call("Form", udata, udata->userIsAdmin != FALSE ? "administrator" : "");
  if (entries != udata->entries || count != udata->num_entries) double_.calls.back() += "!";
  double_.login = udata->loginName == nullptr ? "-" : udata->loginName;
  double_.reason.copy(udata->Reason, sizeof udata->Reason - 1);
  if (!double_.error.empty()) Log_Entry(LOG_LEVEL_ERROR, "module", 0, "%s", double_.error.c_str());
  Log_Entry(LOG_LEVEL_TRACE, "module", 0, "EXIT");
  return double_.result;
}

LogObserver observer_ = nullptr;
void* observed_ = nullptr;

const char* error(const TemplateObject*) { return double_.open_error.c_str(); }

char* failures() { return double_.failures.empty() ? nullptr : ::strdup(double_.failures.c_str()); }

void set_history(const char* directory, int keep, const char* who) {
  double_.history.push_back(std::string(directory) + ' ' + std::to_string(keep) + ' ' + who);
}

void release_values() { double_.calls.emplace_back("release_values"); }

// A template of two services; the doubles' values are those of one attribute.
int walk(TemplateObject*, jt_visit visit, void* context) {
  visit(context, "general", "one", "Name", "string", TRUE, 1, "a<b");
  for (const std::string& value : double_.values) {
    visit(context, "general", "one", "List", "enum_x", FALSE, 2, value.c_str());
  }
  visit(context, "general", "two", "Empty", "string", FALSE, 3, nullptr);
  visit(context, "file", "one", "Name\xFE", "string", FALSE, 4, "x");
  visit(context, "file", "one", "Name\xFF", "string", FALSE, 5, "y");
  return 0;
}

}  // namespace

ModuleDouble& module_double() { return double_; }

PageFixture::PageFixture() {
  const char* temporary = std::getenv("TMPDIR");
  root_ = std::string(temporary == nullptr ? "/tmp" : temporary) + "/platen-pages-XXXXXX";
  if (::mkdtemp(root_.data()) == nullptr) throw std::runtime_error("no temporary directory");
  pages_ = root_ + "/pages";
  std::filesystem::create_directory(pages_);
  double_ = {};
  module_.error = error;
  module_.failures = failures;
  module_.release_values = release_values;
  module_.walk = walk;
  module_.set_history = set_history;
  module_.close_template = close;
}

PageFixture::~PageFixture() { std::filesystem::remove_all(root_); }

void PageFixture::write(const std::string& name, std::string_view text) const {
  const std::filesystem::path path = pages_ + "/" + name;
  std::filesystem::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << text;
}

OutputFunction ParserModule::output_function(const std::string& name) const {
  if (double_.throws) throw std::runtime_error("thrown by a test");
  if (name == "HTTP_Open_Parser_fn") return open;
  if (name == "HTTP_Close_Parser_fn") return close;
  if (name == "HTTP_Parser_Get_fn") return get;
  if (name == "HTTP_Parser_JS_Get_fn") return js_get;
  if (name == "HTTP_Parser_List_Non_WIA_fn") return list_non_wia;
  if (name == "HTTP_Parser_List_Invocations_fn") return list_invocations;
  return nullptr;
}

OutputFunction ParserModule::upkeep_function(const std::string&) const { return nullptr; }

SilentFormHandler ParserModule::silent_form_handler(const std::string&) const { return nullptr; }

FormHandler ParserModule::form_handler(const std::string& name) const {
  return name.starts_with("HTTP_Parser_") ? handle_form : nullptr;
}

void set_log_observer(LogObserver observer, void* context) {
  observer_ = observer;
  observed_ = context;
}

void set_configuration_author(const std::string&) {}

std::vector<ConfigurationChange> configuration_history(int) { return module_double().changes; }

bool is_secret_setting(std::string_view key) { return key.ends_with(".password"); }

long pool_generation() { return 7; }

long configuration_writes(const std::string&) { return 0; }

std::optional<std::vector<ConfigurationSetting>> configuration_settings() { return std::nullopt; }

std::vector<std::string> languages() { return {"de-de", "en-us"}; }

std::string best_language(std::string_view accept_language) {
  return accept_language == "de" ? "de-de" : "en-us";
}

}  // namespace platen

void Log_Entry(int level, const char* source, int line, const char* format, ...) {
  char text[1024];
  va_list values;
  va_start(values, format);
  std::vsnprintf(text, sizeof text, format, values);
  va_end(values);
  if (platen::observer_ != nullptr)
    platen::observer_(platen::observed_, {level, source, line, text});
  platen::module_double().log.push_back(std::to_string(level) + " " + source + " " + text);
}

char* Server_Translate_Phrase(const char* phrase, const char* language) {
  static char english[] = "Name & <title>";
  static char german[] = "Bezeichnung";
  const std::string_view asked = phrase;
  if (asked != "name?" && asked != "language.name?") return nullptr;
  return std::strcmp(language, "de-de") == 0 ? german : english;
}

// A device on which nothing is set.
int Cfg_GetAttrValue(const char*, char*, int) { return CFG_NO_VALUE; }
const char* Cfg_GetContext(void) { return "test:"; }
const char* xpaths_get_path(const char*) { return nullptr; }
int Cfg_GetBoolAttrValue(const char*, bool_t*) { return CFG_NO_VALUE; }
int Cfg_SetAttrValue(const char*, const char*) { return CFG_OK; }
int Cfg_SetBoolAttrValue(const char*, bool_t) { return CFG_OK; }
