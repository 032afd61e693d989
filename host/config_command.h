// The command line "platend config": the settings of the device from the shell.
// SPDX-License-Identifier: MIT
#ifndef HOST_CONFIG_COMMAND_H_
#define HOST_CONFIG_COMMAND_H_

#include <cstdio>
#include <string>
#include <vector>

namespace platen {

// Carries out the words after "platend config": list, get KEY, set KEY VALUE. May run beside a
// serving platend, which reads each setting when it needs it; each change enters the history.
// Passwords and session ids can be set; "(hidden)" is printed in their place.
//
// Prints to `out`, in a list one setting a line as KEY = VALUE with control characters escaped, and
// one line per error to `err`. Returns the exit status: 0 done, 1 refused or failed, 2 not
// understood. A database that is not there is an error; none is made.
int config_command(const std::vector<std::string>& words, const std::string& database_file,
                   std::FILE* out, std::FILE* err);

}  // namespace platen

#endif  // HOST_CONFIG_COMMAND_H_
