// The configuration store: the settings behind platform/configapi.h, in one SQLite database.
// SPDX-License-Identifier: MIT
//
// Every process has one connection, opened at its first use: a process made by fork() opens its
// own. A setting that was stored survives the kill of any process and a loss of power.
#ifndef DEVICE_CONFIGURATION_H_
#define DEVICE_CONFIGURATION_H_

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace platen {

// One setting as it is.
struct ConfigurationSetting {
  std::string key;
  std::string value;
};

// One change of a setting.
struct ConfigurationChange {
  std::string time;  // UTC, "2026-11-21T10:16:46Z"
  std::string key;
  std::string value;   // empty for a password or a session id, which the history never holds
  std::string author;  // login name; empty when nobody was logged in
};

// Names the database and makes it, readable by its owner only, when it is missing; to be called
// once, before the workers start. No connection is left open. Until it was called, every setting is
// unavailable. Returns false and sets `error` to a sentence that names the file when it cannot be
// opened, written, or is no configuration of this program.
bool open_configuration(const std::string& file, std::string* error);

// Names the user whose request the process serves, for the history; empty for nobody.
void set_configuration_author(const std::string& login_name);

// The latest changes, newest first, at most `limit`. The store keeps the last 10,000.
// Empty also when the configuration is unavailable, which is logged.
std::vector<ConfigurationChange> configuration_history(int limit);

// All settings, sorted by key, with their values, secret ones included. Nothing when the
// configuration is unavailable, which is logged.
std::optional<std::vector<ConfigurationSetting>> configuration_settings();

// Tells whether the value of a key is never to be shown: a password or a session id.
bool is_secret_setting(std::string_view key);

// How often `key` has been set since the database was made; 0 also when it is unavailable.
long configuration_writes(const std::string& key);

}  // namespace platen

#endif  // DEVICE_CONFIGURATION_H_
