// The command line "platend config": the settings of the device from the shell.
// SPDX-License-Identifier: MIT
#include "config_command.h"

#include <algorithm>

#include "command.h"
#include "device/configuration.h"
#include "device/log.h"
#include "platform/configapi.h"

namespace platen {
namespace {

constexpr char kCommand[] = "platend config";
constexpr char kUsage[] =
    "usage: platend config list\n"
    "       platend config get KEY\n"
    "       platend config set KEY VALUE\n";

using Words = std::vector<std::string>;

std::string shown(const std::string& key, const std::string& value) {
  return is_secret_setting(key) ? "(hidden)" : value;
}

// The verbs, each with the number of its words. They return why not, or "".

std::string list(const Words& /*words*/, std::FILE* out) {
  const auto settings = configuration_settings();
  if (!settings) return "the settings cannot be read";
  for (const auto& [key, value] : *settings) {
    std::fprintf(out, "%s = %s\n", one_line(key).c_str(), one_line(shown(key, value)).c_str());
  }
  return "";
}

std::string get(const Words& words, std::FILE* out) {
  const std::string& key = words[1];
  ConfigAVP_t value = "";
  switch (Cfg_GetAttrValue(key.c_str(), value, sizeof value)) {
    case CFG_OK:
      std::fprintf(out, "%s\n", shown(key, value).c_str());
      return "";
    case CFG_NO_VALUE:
      return "\"" + key + "\" is not set";
    case CFG_INVALID:
      return "a key has 1 to 255 bytes";
    default:
      return "\"" + key + "\" cannot be read";
  }
}

std::string set(const Words& words, std::FILE* /*out*/) {
  switch (Cfg_SetAttrValue(words[1].c_str(), words[2].c_str())) {
    case CFG_OK:
      return "";
    case CFG_INVALID:
      return "a key has 1 to 255 bytes, a value at most 1063";
    default:
      return "\"" + words[1] + "\" cannot be set";
  }
}

struct Verb {
  const char* word;
  size_t words;
  std::string (*run)(const Words& words, std::FILE* out);
};

constexpr Verb kVerbs[] = {{"list", 1, list}, {"get", 2, get}, {"set", 3, set}};

const Verb* find_verb(const Words& words) {
  const auto* verb = std::find_if(std::begin(kVerbs), std::end(kVerbs), [&](const Verb& row) {
    return row.words == words.size() && words[0] == row.word;
  });
  return verb == std::end(kVerbs) ? nullptr : verb;
}

}  // namespace

int config_command(const std::vector<std::string>& words, const std::string& database_file,
                   std::FILE* out, std::FILE* err) {
  const Verb* verb = find_verb(words);
  if (verb == nullptr) {
    std::fputs(kUsage, err);
    return 2;
  }
  if (!has_database(database_file, kCommand, err)) return 1;
  std::string fault;
  if (open_configuration(database_file, &fault)) fault = verb->run(words, out);
  if (fault.empty()) return 0;
  std::fprintf(err, "%s: %s\n", kCommand, fault.c_str());
  return 1;
}

}  // namespace platen
