// The device services behind the module, as a test scripts them: settings, messages, phrases and
// the clone file.
// SPDX-License-Identifier: MIT
#ifndef TESTS_MODULE_SCRIPTED_DEVICE_H_
#define TESTS_MODULE_SCRIPTED_DEVICE_H_

#include <map>
#include <optional>
#include <set>
#include <string>

struct ScriptedDevice {
  std::map<std::string, std::string> settings;
  std::set<std::string> locked;  // keys that cannot be set
  int send_status = 0;           // of an update request
  int reply_status = 0;
  bool replies_to_failed_sends = false;

  std::map<std::string, std::string> phrases;  // by "LANGUAGE TOKEN?"
  std::optional<std::string> clone_file;       // its bytes, when there is one
  bool knows_paths = true;
};

// The script of the running test; a new one begins with scripted_device() = {}.
ScriptedDevice& scripted_device();

// The call that sends an assignment, as the journal holds it.
std::string sent_update(const std::string& assignment);

#endif  // TESTS_MODULE_SCRIPTED_DEVICE_H_
