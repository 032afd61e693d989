// The command line "platend restore": what a backup holds, put back.
// SPDX-License-Identifier: MIT
#ifndef HOST_RESTORE_COMMAND_H_
#define HOST_RESTORE_COMMAND_H_

#include <cstdio>
#include <string>
#include <vector>

#include "backup_command.h"

namespace platen {

// The backup that the words after "platend restore" name; "" when they are not understood.
std::string restored_file(const std::vector<std::string>& words);

// Carries out the words after "platend restore": [--check] FILE. May run beside a serving platend.
// The file is checked as a whole before anything is replaced; with --check that is all. Then the store
// replaces the templates that differ and deletes those that the backup lacks, and keeps what was
// there in the history. When all of that is done, accounts and settings follow in one transaction,
// sessions end, and an entry of the audit trail tells it. A failure leaves accounts and settings as
// they were; the same command completes what is missing. A database that is not there is made.
//
// Requires the device's own paths, which the sandbox gives: `place.data` is not looked at. Prints the
// result to `out` and one line per error to `err`. Returns the exit status: 0 done, 1 failed, 2 not
// understood. Throws nothing.
int restore_command(const std::vector<std::string>& words, const BackupPlace& place, std::FILE* out,
                    std::FILE* err);

}  // namespace platen

#endif  // HOST_RESTORE_COMMAND_H_
