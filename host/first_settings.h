// The settings that a new device starts with.
// SPDX-License-Identifier: MIT
#ifndef HOST_FIRST_SETTINGS_H_
#define HOST_FIRST_SETTINGS_H_

#include <string>

namespace platen {

// Stores the settings of `file`, each line a key, a tab and a value; to be called when the
// configuration has just been made. A file that is not there has none. Returns false and sets
// `error` to a sentence that names the file when it cannot be understood or a setting cannot be
// stored.
bool store_first_settings(const std::string& file, std::string* error);

}  // namespace platen

#endif  // HOST_FIRST_SETTINGS_H_
