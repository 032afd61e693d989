// The parser module and the template store under it, loaded at run time.
// SPDX-License-Identifier: MIT
#ifndef HOST_PARSER_MODULE_H_
#define HOST_PARSER_MODULE_H_

#include <string>

#include "http_parser.h"
#include "parser_functions.h"
#include "templateWrapper.h"

namespace platen {

using OutputFunction = void (*)(QVN_AppData* udata, char* arg);
using FormHandler = int (*)(QVN_AppData* udata, FormEntry* entries, int count);
using SilentFormHandler = void (*)(QVN_AppData* udata, FormEntry* entries, int count);

// The loaded libraries; they stay loaded until the process ends.
class ParserModule {
 public:
  // Loads the module at `path` and the store that it links, resolves every function of the host's
  // table and of the store, and checks that the store's names resolve into the store's own file.
  // Returns false and sets `fault` to a sentence naming file and symbol when anything is missing.
  bool load(const std::string& path, std::string* fault);

  // The output function of that name; null when the module has none.
  OutputFunction output_function(const std::string& name) const;

  // The function of that name that brings templates in line; null when the module has none.
  OutputFunction upkeep_function(const std::string& name) const;

  // The form handler of that name, with and without a result; null when the module has none.
  FormHandler form_handler(const std::string& name) const;
  SilentFormHandler silent_form_handler(const std::string& name) const;

  // The file of the store that the module links.
  const std::string& store_file() const { return store_file_; }

  // The module's readers of the clone file.
  decltype(&FnGetGroupTokens) clone_groups = nullptr;
  decltype(&FnGetSubStringTokens) clone_sub_groups = nullptr;
  decltype(&FnGetOptionalConditon) clone_condition = nullptr;

  // The store's functions that the host itself calls.
  decltype(&jt_history) set_history = nullptr;
  decltype(&jt_versions) versions = nullptr;
  decltype(&jt_free_versions) free_versions = nullptr;
  decltype(&CKwtTemplate) construct_template = nullptr;
  decltype(&Open) open_template = nullptr;
  decltype(&DestructorCKwtTemplate) destruct_template = nullptr;
  decltype(&CreateInvocationWSize) create_invocation = nullptr;
  decltype(&CopyCKwtTemplate) copy_template = nullptr;
  decltype(&DeleteCKwtTemplateWFilename) delete_template = nullptr;
  decltype(&jt_error) error = nullptr;
  decltype(&jt_failures) failures = nullptr;
  decltype(&jt_release_values) release_values = nullptr;
  decltype(&jt_walk) walk = nullptr;
  decltype(&HTTP_Parser_Init) init = nullptr;
  decltype(&HTTP_Close_Parser_fn) close_template = nullptr;

 private:
  bool resolve_functions(const std::string& path, std::string* fault);
  void* function(const std::string& name, Shape shape) const;
  bool check_store(const std::string& path, std::string* fault);

  void* handle_ = nullptr;
  std::string store_file_;
};

}  // namespace platen

#endif  // HOST_PARSER_MODULE_H_
