// The command line "platend backup": the state of the device in one file.
// SPDX-License-Identifier: MIT
#ifndef HOST_BACKUP_COMMAND_H_
#define HOST_BACKUP_COMMAND_H_

#include <cstdio>
#include <string>
#include <vector>

#include "parser_module.h"

namespace platen {

// What "platend backup" and "platend restore" work on.
struct BackupPlace {
  std::string database_file;
  std::string data;     // the device tree; empty: the device's own paths
  std::string history;  // where the store keeps what a restore replaces
  const ParserModule& module;
};

// Writes accounts, settings, audit trail and templates of one moment into the file that the words
// after "platend backup" name, for its owner alone: it holds hashes of passwords, and PINs. May run
// beside a serving platend, whose forms wait while templates are read. A file of that name is
// replaced when the backup is whole. Templates that the store cannot read are copied and told.
//
// Prints the result to `out` and one line per error to `err`. Returns the exit status: 0 done, 1
// failed, 2 not understood. A database that is not there is an error; none is made. Throws nothing.
int backup_command(const std::vector<std::string>& words, const BackupPlace& place, std::FILE* out,
                   std::FILE* err);

}  // namespace platen

#endif  // HOST_BACKUP_COMMAND_H_
