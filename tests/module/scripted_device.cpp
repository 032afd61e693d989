// The device services behind the module: settings, phrases and the clone file, as a test scripts them.
// SPDX-License-Identifier: MIT
#include "scripted_device.h"

#include <cstdio>

#include "configapi.h"
#include "journal.h"
#include "server.h"
#include "xpaths.h"

ScriptedDevice& scripted_device() {
  static ScriptedDevice device;
  return device;
}

int Cfg_GetAttrValue(const char* key, char* value, int size) {
  journal().add("Cfg_GetAttrValue('" + std::string(key) + "', " + std::to_string(size) + ")");
  const auto found = scripted_device().settings.find(key);
  if (found == scripted_device().settings.end()) return CFG_NO_VALUE;
  std::snprintf(value, static_cast<std::size_t>(size), "%s", found->second.c_str());
  return CFG_OK;
}

char* Server_Translate_Phrase(const char* phrase, const char* language) {
  const std::string asked = std::string(language) + " " + phrase;
  const auto found = scripted_device().phrases.find(asked);
  return found != scripted_device().phrases.end() ? found->second.data() : nullptr;
}

const char* xpaths_get_path(const char* key) {
  return scripted_device().knows_paths && std::string(key) == "nc_dlms_data" ? "/data" : nullptr;
}

FILE* xpaths_open_file(const char* directory, const char* name, const char* mode) {
  journal().add("xpaths_open_file('" + std::string(directory) + "', '" + name + "', '" + mode +
                "')");
  std::optional<std::string>& bytes = scripted_device().clone_file;
  if (!bytes.has_value()) return nullptr;
  return bytes->empty() ? std::fopen("/dev/null", mode)
                        : fmemopen(bytes->data(), bytes->size(), mode);
}
