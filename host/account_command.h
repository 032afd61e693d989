// The command line "platend account": accounts from the shell.
// SPDX-License-Identifier: MIT
#ifndef HOST_ACCOUNT_COMMAND_H_
#define HOST_ACCOUNT_COMMAND_H_

#include <cstdio>
#include <string>
#include <vector>

#include "secrets.h"

namespace platen {

// Carries out the words after "platend account": list, add NAME [--role user|administrator],
// reset NAME, disable NAME, enable NAME. May run beside a serving platend, which heeds the change
// at its next request; each change leaves an entry in the audit trail.
//
// Prints the result, a new password included, to `out` and one line per error to `err`. Returns the
// exit status: 0 done, 1 refused or failed, 2 not understood. A database that is not there is an
// error; none is made. Throws nothing.
int account_command(const std::vector<std::string>& words, const std::string& database_file,
                    std::FILE* out, std::FILE* err, PasswordCost cost = interactive_cost());

}  // namespace platen

#endif  // HOST_ACCOUNT_COMMAND_H_
