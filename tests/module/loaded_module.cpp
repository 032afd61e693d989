// Loads the module under test and resolves its exports.
// SPDX-License-Identifier: MIT
#include "loaded_module.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>

namespace {

void* resolved(void* library, const char* name) {
  void* symbol = library != nullptr ? dlsym(library, name) : nullptr;
  if (symbol == nullptr) {
    std::fprintf(stderr, "%s\n", dlerror());
    std::abort();
  }
  return symbol;
}

LoadedModule load() {
  void* library = dlopen(PARSER_MODULE_FILE, RTLD_NOW | RTLD_LOCAL);
  LoadedModule loaded;
#define RESOLVE_EXPORT(name) \
  loaded.name = reinterpret_cast<decltype(&::name)>(resolved(library, #name));
  FOR_EACH_EXPORT(RESOLVE_EXPORT)
#undef RESOLVE_EXPORT
  return loaded;
}

}  // namespace

const LoadedModule& parser() {
  static const LoadedModule loaded = load();
  return loaded;
}
