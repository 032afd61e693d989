// The loader of the module and the store.
// SPDX-License-Identifier: MIT
#include "parser_module.h"

#include <dlfcn.h>

namespace platen {
namespace {

// Names as short as "Open" may well exist elsewhere in the process; a library that brought one of
// its own would take the module's calls.
constexpr const char* kStoreFunctions[] = {
    "CKwtPool",
    "SetPath",
    "Refresh",
    "GetTemplateList",
    "DestructorCKwtPool",
    "CKwtTemplate",
    "Open",
    "Close",
    "DestructorCKwtTemplate",
    "GetFileName",
    "GetLastTemplateError",
    "ListInvocations",
    "ReadAttributeStringWInvocUseFirstAsString",
    "jt_destroy_value_string",
    "WriteAttributeFromStringUseFirst",
    "WriteAttributeStringWInvoc",
    "WriteAttributeEnumWInvoc",
    "RemoveAttributeStringWInvoc",
    "DeleteAttribute",
    "DeleteAttributeWInvoc",
    "DeleteInvocation",
    "DeleteService",
    "CreateInvocationWSize",
    "CreateMetaDataInvocation",
    "DeleteMetaDataInvocation",
    "CopyCKwtTemplate",
    "DeleteCKwtTemplateWFilename",
    "StringReplace",
    "jt_error",
    "jt_failures",
    "jt_release_values",
    "jt_walk",
    "jt_history",
    "jt_versions",
    "jt_free_versions",
};

std::string missing_symbol(const std::string& file, const char* symbol) {
  return "neither " + file + " nor the store that it links has the function " + symbol +
         "; rebuild both, or choose another module with --module";
}

std::string file_of(void* symbol) {
  Dl_info info;
  return dladdr(symbol, &info) != 0 && info.dli_fname != nullptr ? info.dli_fname : "";
}

template <typename Function>
bool resolve(void* handle, const std::string& path, const char* name, Function* function,
             std::string* fault) {
  *function = reinterpret_cast<Function>(dlsym(handle, name));
  if (*function == nullptr) {
    *fault = missing_symbol(path, name);
  }
  return *function != nullptr;
}

}  // namespace

bool ParserModule::load(const std::string& path, std::string* fault) {
  const bool plain_name = path.find('/') == std::string::npos;
  handle_ = dlopen((plain_name ? "./" + path : path).c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle_ == nullptr) {
    *fault = "the parser module cannot be loaded: " + std::string(dlerror()) +
             "; build it, or choose another with --module";
    return false;
  }
  return resolve_functions(path, fault) && check_store(path, fault);
}

bool ParserModule::resolve_functions(const std::string& path, std::string* fault) {
  for (const ParserFunction& function : parser_functions()) {
    if (dlsym(handle_, function.name) == nullptr) {
      *fault = missing_symbol(path, function.name);
      return false;
    }
  }
  return resolve(handle_, path, "HTTP_Parser_Init", &init, fault) &&
         resolve(handle_, path, "FnGetGroupTokens", &clone_groups, fault) &&
         resolve(handle_, path, "FnGetSubStringTokens", &clone_sub_groups, fault) &&
         resolve(handle_, path, "FnGetOptionalConditon", &clone_condition, fault) &&
         resolve(handle_, path, "HTTP_Close_Parser_fn", &close_template, fault) &&
         resolve(handle_, path, "jt_history", &set_history, fault) &&
         resolve(handle_, path, "jt_versions", &versions, fault) &&
         resolve(handle_, path, "jt_free_versions", &free_versions, fault) &&
         resolve(handle_, path, "CKwtTemplate", &construct_template, fault) &&
         resolve(handle_, path, "Open", &open_template, fault) &&
         resolve(handle_, path, "DestructorCKwtTemplate", &destruct_template, fault) &&
         resolve(handle_, path, "CreateInvocationWSize", &create_invocation, fault) &&
         resolve(handle_, path, "jt_walk", &walk, fault) &&
         resolve(handle_, path, "CopyCKwtTemplate", &copy_template, fault) &&
         resolve(handle_, path, "DeleteCKwtTemplateWFilename", &delete_template, fault) &&
         resolve(handle_, path, "jt_error", &error, fault) &&
         resolve(handle_, path, "jt_failures", &failures, fault) &&
         resolve(handle_, path, "jt_release_values", &release_values, fault);
}

// The module's calls go to the first library of the process that has the name: the program and what
// it links come before the module's own store.
bool ParserModule::check_store(const std::string& path, std::string* fault) {
  store_file_ = file_of(reinterpret_cast<void*>(walk));
  for (const char* name : kStoreFunctions) {
    void* own = dlsym(handle_, name);
    void* first = dlsym(RTLD_DEFAULT, name);
    if (own == nullptr) {
      *fault = missing_symbol(path, name);
      return false;
    }
    const std::string provider = file_of(first == nullptr ? own : first);
    if (provider != store_file_) {
      *fault = "the function " + std::string(name) + " of the store " + store_file_ +
               " is hidden by one of " + provider + "; remove that library";
      return false;
    }
  }
  return true;
}

void* ParserModule::function(const std::string& name, Shape shape) const {
  const ParserFunction* row = find_parser_function(name);
  return row == nullptr || row->shape != shape ? nullptr : dlsym(handle_, row->name);
}

OutputFunction ParserModule::output_function(const std::string& name) const {
  return reinterpret_cast<OutputFunction>(function(name, Shape::output));
}

OutputFunction ParserModule::upkeep_function(const std::string& name) const {
  return reinterpret_cast<OutputFunction>(function(name, Shape::upkeep));
}

SilentFormHandler ParserModule::silent_form_handler(const std::string& name) const {
  return reinterpret_cast<SilentFormHandler>(function(name, Shape::silent_form));
}

FormHandler ParserModule::form_handler(const std::string& name) const {
  return reinterpret_cast<FormHandler>(function(name, Shape::form));
}

}  // namespace platen
