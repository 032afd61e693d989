// A store without files: it writes each call into the journal and answers as the test scripts.
// SPDX-License-Identifier: MIT
#include "scripted_store.h"

#include <cstdlib>
#include <cstring>
#include <set>
#include <type_traits>

#include "journal.h"

namespace {

// Parts of the objects that the store keeps behind its opaque pointers.
struct OpenFile {
  std::string path;
  std::size_t cursor = 0;
};

std::set<char*> held_values;

OpenFile* file_of(TemplateObject* tpl) {
  return tpl != nullptr ? static_cast<OpenFile*>(tpl->m_hTemplate) : nullptr;
}

std::string shown(const TemplateObject* tpl) { return tpl != nullptr ? "tpl" : "NULL"; }
std::string shown(const char* text) {
  return text != nullptr ? "'" + std::string(text) + "'" : "NULL";
}
std::string shown(int number) { return std::to_string(number); }

// Writes "OPERATION(ARGUMENT, ...)".
template <typename... Arguments>
void note(const std::string& operation, Arguments... arguments) {
  std::string line;
  ((line += (line.empty() ? "" : ", ") + shown(arguments)), ...);
  journal().add(operation + "(" + line + ")");
}

int result(const char* operation, int success) {
  std::deque<int>& results = scripted_store().results[operation];
  if (results.empty()) return success;
  const int scripted = results.front();
  results.pop_front();
  return scripted;
}

// Notes a call and answers it, where nothing else happens.
template <typename... Arguments>
int answered(const char* operation, int success, Arguments... arguments) {
  note(operation, arguments...);
  return result(operation, success);
}

template <typename Node>
void free_list(Node* node) {
  while (node != nullptr) {
    Node* next = node->next;
    if constexpr (std::is_same_v<Node, TEMPLATELISTNODE_STRUCT>) std::free(node->szFileName);
    std::free(node);
    node = next;
  }
}

int created(const char* operation, char* name, int size) {
  const int answer = result(operation, 1);
  if (answer != 0) strncpy(name, scripted_store().new_name.c_str(), static_cast<std::size_t>(size));
  return answer;
}

const std::vector<std::string>& values_of(TemplateObject* tpl, const char* attribute) {
  static const std::vector<std::string> kNone;
  const auto& values = scripted_store().values;
  const OpenFile* file = file_of(tpl);
  if (file == nullptr || attribute == nullptr) return kNone;
  auto found = values.find(file->path + " " + attribute);
  if (found == values.end()) found = values.find(attribute);
  return found != values.end() ? found->second : kNone;
}

}  // namespace

ScriptedStore& scripted_store() {
  static ScriptedStore store;
  return store;
}

void release_scripted_values() {
  for (char* value : held_values) std::free(value);
  held_values.clear();
}

void CKwtPool(TemplatePoolObject* pool) {
  journal().add("CKwtPool()");
  *pool = {};
}

bool_t SetPath(TemplatePoolObject*, const char* directory) {
  return answered("SetPath", 1, directory);
}

bool_t Refresh(TemplatePoolObject* pool) {
  TEMPLATELISTNODE_STRUCT** end = &pool->m_pTemplateList;
  for (const std::string& file : scripted_store().files) {
    *end = static_cast<TEMPLATELISTNODE_STRUCT*>(std::calloc(1, sizeof(TEMPLATELISTNODE_STRUCT)));
    (*end)->szFileName = strdup(file.c_str());
    end = &(*end)->next;
  }
  return answered("Refresh", 1);
}

TEMPLATELISTNODE_STRUCT* GetTemplateList(TemplatePoolObject* pool) {
  journal().add("GetTemplateList()");
  return pool->m_pTemplateList;
}

void DestructorCKwtPool(TemplatePoolObject* pool) {
  journal().add("DestructorCKwtPool()");
  free_list(pool->m_pTemplateList);
}

void CKwtTemplate(TemplateObject* tpl) { note("CKwtTemplate", tpl); }

int Open(TemplateObject* tpl, const char* path, int mode) {
  note("Open", tpl, path, mode);
  const int opened = result("Open", 1);
  tpl->m_erno = opened != 0 ? KWT_SUCCESS : scripted_store().error_after_open;
  if (opened == 0) return opened;
  tpl->m_filename = strdup(path);
  tpl->m_hTemplate = new OpenFile{path};
  return opened;
}

int Close(TemplateObject* tpl, int save) { return answered("Close", 1, tpl, save); }

void DestructorCKwtTemplate(TemplateObject* tpl) {
  note("DestructorCKwtTemplate", tpl);
  std::free(tpl->m_filename);
  delete file_of(tpl);
  free_list(tpl->m_pInvocationList);
}

char* GetFileName(TemplateObject* tpl) {
  note("GetFileName", tpl);
  return tpl->m_filename;
}

KWTSTATUS GetLastTemplateError(TemplateObject* tpl) {
  return static_cast<KWTSTATUS>(answered("GetLastTemplateError", KWT_SUCCESS, tpl));
}

INVOCATION_STRUCT* ListInvocations(TemplateObject* tpl, const char* service) {
  note("ListInvocations", tpl, service);
  if (tpl == nullptr) return nullptr;
  free_list(tpl->m_pInvocationList);
  tpl->m_pInvocationList = nullptr;
  INVOCATION_STRUCT** end = &tpl->m_pInvocationList;
  for (const std::string& name : scripted_store().invocations) {
    *end = static_cast<INVOCATION_STRUCT*>(std::calloc(1, sizeof(INVOCATION_STRUCT)));
    name.copy((*end)->szInvocationName, sizeof((*end)->szInvocationName) - 1);
    end = &(*end)->next;
  }
  return tpl->m_pInvocationList;
}

char* ReadAttributeStringWInvocUseFirstAsString(TemplateObject* tpl, const char* service,
                                                const char* invocation, const char* attribute,
                                                bool_t first) {
  note("Read", tpl, service, invocation, attribute, first);
  const std::vector<std::string>& values = values_of(tpl, attribute);
  OpenFile* file = file_of(tpl);
  if (file == nullptr) return nullptr;
  if (first == TRUE) file->cursor = 0;
  if (file->cursor >= values.size()) return nullptr;
  return *held_values.insert(strdup(values[file->cursor++].c_str())).first;
}

void jt_destroy_value_string(TemplateObject* tpl, char* value) {
  note("jt_destroy_value_string", tpl, value);
  held_values.erase(value);
  std::free(value);
}

bool_t WriteAttributeFromStringUseFirst(TemplateObject* tpl, const char* service,
                                        const char* invocation, const char* attribute,
                                        const char* type, const char* value, bool_t first,
                                        bool_t compulsory) {
  return answered("WriteAttributeFromStringUseFirst", TRUE, tpl, service, invocation, attribute,
                  type, value, first, compulsory);
}

bool_t WriteAttributeStringWInvoc(TemplateObject* tpl, const char* service, const char* invocation,
                                  const char* attribute, const char* value) {
  return answered("WriteAttributeStringWInvoc", TRUE, tpl, service, invocation, attribute, value);
}

bool_t WriteAttributeEnumWInvoc(TemplateObject* tpl, const char* service, const char* invocation,
                                const char* type, const char* attribute, int value) {
  return answered("WriteAttributeEnumWInvoc", TRUE, tpl, service, invocation, type, attribute,
                  value);
}

bool_t RemoveAttributeStringWInvoc(TemplateObject* tpl, const char* service, const char* invocation,
                                   const char* attribute, const char* value) {
  return answered("RemoveAttributeStringWInvoc", TRUE, tpl, service, invocation, attribute, value);
}

bool_t DeleteAttribute(TemplateObject* tpl, const char* service, const char* attribute) {
  return answered("DeleteAttribute", TRUE, tpl, service, attribute);
}

bool_t DeleteAttributeWInvoc(TemplateObject* tpl, const char* service, const char* invocation,
                             const char* attribute) {
  return answered("DeleteAttributeWInvoc", TRUE, tpl, service, invocation, attribute);
}

bool_t DeleteInvocation(TemplateObject* tpl, const char* service, const char* invocation) {
  return answered("DeleteInvocation", TRUE, tpl, service, invocation);
}

bool_t DeleteService(TemplateObject* tpl, const char* service) {
  return answered("DeleteService", TRUE, tpl, service);
}

int CreateInvocationWSize(TemplateObject* tpl, const char* service, char* name, int size) {
  note("CreateInvocationWSize", tpl, service, size);
  return created("CreateInvocationWSize", name, size);
}

int CreateMetaDataInvocation(TemplateObject* tpl, char* name, int size) {
  note("CreateMetaDataInvocation", tpl, name, size);
  return created("CreateMetaDataInvocation", name, size);
}

bool_t DeleteMetaDataInvocation(TemplateObject* tpl, const char* invocation) {
  return answered("DeleteMetaDataInvocation", TRUE, tpl, invocation);
}

KWTSTATUS CopyCKwtTemplate(const char* from, const char* to) {
  return static_cast<KWTSTATUS>(answered("CopyCKwtTemplate", KWT_SUCCESS, from, to));
}

int DeleteCKwtTemplateWFilename(const char* path) {
  return answered("DeleteCKwtTemplateWFilename", 1, path);
}

char* StringReplace(const char* text, const char* what, const char* replacement) {
  note("StringReplace", text, what, replacement);
  if (!scripted_store().replaces) return nullptr;
  std::string replaced;
  const std::string wanted = what;
  for (const char* at = text; *at != '\0';) {
    const bool found = std::strncmp(at, what, wanted.size()) == 0;
    replaced += found ? std::string(replacement) : std::string(1, *at);
    at += found ? wanted.size() : 1;
  }
  return strdup(replaced.c_str());
}
