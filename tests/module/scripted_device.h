// The device services behind the module: settings, phrases and the clone file, as a test scripts them.
// SPDX-License-Identifier: MIT
#ifndef TESTS_MODULE_SCRIPTED_DEVICE_H_
#define TESTS_MODULE_SCRIPTED_DEVICE_H_

#include <map>
#include <optional>
#include <string>

struct ScriptedDevice {
  std::map<std::string, std::string> settings;
  std::map<std::string, std::string> phrases;  // by "LANGUAGE TOKEN?"
  std::optional<std::string> clone_file;       // its bytes, when there is one
  bool knows_paths = true;
};

// The script of the running test; a new one begins with scripted_device() = {}.
ScriptedDevice& scripted_device();

#endif  // TESTS_MODULE_SCRIPTED_DEVICE_H_
