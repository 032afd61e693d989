// The device services behind the module, as a test scripts them: settings, messages, phrases and
// the clone file.
// SPDX-License-Identifier: MIT
#include "scripted_device.h"

#include <cstdio>

#include "allocations.h"
#include "configapi.h"
#include "ipc.h"
#include "journal.h"
#include "server.h"
#include "xpaths.h"

struct Ipc_message {
  ConfigResponse_t response;
};

namespace {

constexpr char kContext[] = "context:";

std::string call(const std::string& operation, const std::string& arguments) {
  return operation + "(" + arguments + ")";
}

std::string quoted(const char* text) {
  return text != nullptr ? "'" + std::string(text) + "'" : "NULL";
}

const std::string* setting(const char* key) {
  const auto found = scripted_device().settings.find(key);
  return found != scripted_device().settings.end() ? &found->second : nullptr;
}

int set_setting(const char* key, const std::string& value) {
  if (scripted_device().locked.contains(key)) return CFG_UNAVAILABLE;
  scripted_device().settings[key] = value;
  return CFG_OK;
}

std::string sending(const std::string& request) {
  return call("ipc_send_message_sync",
              "2000, 13001, '" + request + "', " + std::to_string(request.size() + 1) + ", 7000");
}

}  // namespace

ScriptedDevice& scripted_device() {
  static ScriptedDevice device;
  return device;
}

std::string sent_update(const std::string& assignment) { return sending(kContext + assignment); }

const char* Cfg_GetContext(void) { return kContext; }

int Cfg_GetAttrValue(const char* key, char* value, int size) {
  const TestMemory own;
  journal().add(call("Cfg_GetAttrValue", quoted(key) + ", " + std::to_string(size)));
  const std::string* found = setting(key);
  if (found == nullptr) return CFG_NO_VALUE;
  std::snprintf(value, static_cast<std::size_t>(size), "%s", found->c_str());
  return CFG_OK;
}

int Cfg_SetAttrValue(const char* key, const char* value) {
  const TestMemory own;
  journal().add(call("Cfg_SetAttrValue", quoted(key) + ", " + quoted(value)));
  return set_setting(key, value != nullptr ? value : "");
}

int Cfg_GetBoolAttrValue(const char* key, bool_t* value) {
  const TestMemory own;
  journal().add(call("Cfg_GetBoolAttrValue", quoted(key)));
  const std::string* found = setting(key);
  if (found == nullptr) return CFG_NO_VALUE;
  *value = std::stoi(*found);
  return CFG_OK;
}

int Cfg_SetBoolAttrValue(const char* key, bool_t value) {
  const TestMemory own;
  journal().add(call("Cfg_SetBoolAttrValue", quoted(key) + ", " + std::to_string(value)));
  return set_setting(key, std::to_string(value));
}

int ipc_send_message_sync(int a, int b, const void* text, size_t length, int c,
                          Ipc_message** reply) {
  const TestMemory own;
  const auto* request = static_cast<const char*>(text);
  journal().add(call("ipc_send_message_sync", std::to_string(a) + ", " + std::to_string(b) + ", " +
                                                  quoted(request) + ", " + std::to_string(length) +
                                                  ", " + std::to_string(c)) +
                (*reply == nullptr ? "" : " (with a reply before the call)"));
  const ScriptedDevice& device = scripted_device();
  if (device.send_status == 0 || device.replies_to_failed_sends) {
    *reply = new Ipc_message{{device.reply_status, ""}};
  }
  return device.send_status;
}

void* ipc_message_data(Ipc_message* reply) { return &reply->response; }

void ipc_free_message(int zero, Ipc_message* reply) {
  const TestMemory own;
  journal().add(call("ipc_free_message", std::to_string(zero) + ", reply"));
  delete reply;
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
