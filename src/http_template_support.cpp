// Support for the parser functions: argument lookup, template paths, one value of a template file.
// SPDX-License-Identifier: MIT
#include <cstring>

#include "http_parser.h"
#include "log.h"
#include "request.h"
#include "templateWrapper.h"
#include "text.h"
#include "trace.h"

namespace {

constexpr char kSource[] = "http_template_support.cpp";
constexpr std::size_t kPathSize = 255;
constexpr std::size_t kNameSize = 64;

}  // namespace

char* TempSuppGetArgument(QVN_AppData* inUdata, char* inArg, char* inParamName) {
  char* argument = inArg;
  if (is_empty(inArg)) {
    const FormEntries entries = inUdata != nullptr ? form_entries(*inUdata) : FormEntries();
    const FormEntry* entry = first_entry(entries, inParamName);
    argument = entry != nullptr ? entry->val : nullptr;
  }
  LOG_LINE(LOG_LEVEL_VALUES, "Have argument of '%s'.", argument);
  return argument;
}

void TempSuppGetTempFullPath(char* inFolderPath, char* inTempName, char* ioFullPath) {
  std::memset(ioFullPath, 0, kPathSize);
  const std::size_t folder_length = std::strlen(inFolderPath);
  const bool separated = folder_length > 0 && inFolderPath[folder_length - 1] == '/';
  if (folder_length + std::strlen(inTempName) + (separated ? 0 : 1) < kPathSize) {
    format_into(ioFullPath, kPathSize, "%s%s%s", inFolderPath, separated ? "" : "/", inTempName);
  }
  LOG_LINE(LOG_LEVEL_VALUES, "Built full template path of '%s'.", ioFullPath);
}

void TempSuppGetTempNameSansSuffix(char* inTempName, char* ioSansSuffix) {
  std::memset(ioSansSuffix, 0, kNameSize);
  const char* suffix = std::strrchr(inTempName, '.');
  if (suffix == nullptr) return;
  const auto length = static_cast<std::size_t>(suffix - inTempName);
  if (length < kNameSize - 1) std::memcpy(ioSansSuffix, inTempName, length);
  LOG_LINE(LOG_LEVEL_VALUES, "Have main template name of '%s'.", ioSansSuffix);
}

char* TempSuppGetAttributeValue(QVN_AppData* inUdata, char* inTempName, char* inServiceName,
                                char* inAttributeName) {
  HTTP_Open_Parser_fn(inUdata, inTempName);
  TemplateObject* tpl = open_template(*inUdata);
  if (GetLastTemplateError(tpl) != KWT_SUCCESS) return nullptr;
  const INVOCATION_STRUCT* first = ListInvocations(tpl, inServiceName);
  char* value = ReadAttributeStringWInvocUseFirstAsString(
      tpl, inServiceName, first != nullptr ? first->szInvocationName : nullptr, inAttributeName,
      TRUE);
  if (tpl != nullptr) {  // without a file name the close prints no hidden field into the page
    std::free(tpl->m_filename);
    tpl->m_filename = nullptr;
  }
  close_template(inUdata, Changes::discard);
  return value;
}
