// The command line "platend certificate": a self-signed certificate for a first try.
// SPDX-License-Identifier: MIT
#ifndef HOST_CERTIFICATE_COMMAND_H_
#define HOST_CERTIFICATE_COMMAND_H_

#include <cstdio>
#include <string>
#include <vector>

namespace platen {

// Makes a key and a certificate, signed with itself, for the host names and IP addresses `names`, or
// for this machine's name and its own addresses when there are none; it is valid for 825 days. Both
// are files in the directory `state` and belong to the directory's owner; only he may read the key.
// Prints the settings that use them. Returns 0; or 1 after a message on `err`, with nothing made,
// when one of the files is there already or the program openssl is missing or fails; or 2 for a
// name that is none.
int certificate_command(const std::vector<std::string>& names, const std::string& state,
                        std::FILE* out, std::FILE* err);

}  // namespace platen

#endif  // HOST_CERTIFICATE_COMMAND_H_
