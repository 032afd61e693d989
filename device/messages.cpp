// Messages to the configuration server, answered in this process from the configuration store.
// SPDX-License-Identifier: MIT
#include "device/messages.h"

#include <string>
#include <string_view>

#include "device/configuration.h"
#include "platform/configapi.h"
#include "platform/ipc.h"

struct Ipc_message {
  ConfigResponse_t response;
};

namespace platen {
namespace {

enum SendStatus { kSent = 0, kUnsendable = 1 };

status_t answer_update(std::string_view request) {
  constexpr std::string_view kAssignment = "=\"";
  const std::string_view context = Cfg_GetContext();
  if (!request.starts_with(context)) return CFG_INVALID;
  request.remove_prefix(context.size());
  const size_t assignment = request.find(kAssignment);
  if (assignment == std::string_view::npos) return CFG_INVALID;
  std::string_view value = request.substr(assignment + kAssignment.size());
  if (!value.ends_with('"')) return CFG_INVALID;
  value.remove_suffix(1);
  return Cfg_SetAttrValue(std::string(request.substr(0, assignment)).c_str(),
                          std::string(value).c_str());
}

}  // namespace

long pool_generation() { return configuration_writes("services[templatePool].localUpdating"); }

}  // namespace platen

int ipc_send_message_sync(int /*a*/, int /*b*/, const void* text, size_t length, int /*c*/,
                          Ipc_message** reply) {
  const std::string_view request(static_cast<const char*>(text), length);
  if (length == 0 || request.find('\0') != length - 1) return platen::kUnsendable;
  *reply = new Ipc_message{{platen::answer_update(request.substr(0, length - 1)), ""}};
  return platen::kSent;
}

void* ipc_message_data(Ipc_message* reply) { return &reply->response; }

void ipc_free_message(int /*zero*/, Ipc_message* reply) { delete reply; }
