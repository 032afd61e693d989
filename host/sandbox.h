// The sandbox that maps the device's fixed paths onto one data directory.
// SPDX-License-Identifier: MIT
#ifndef HOST_SANDBOX_H_
#define HOST_SANDBOX_H_

#include <string>
#include <vector>

namespace platen {

// What is to be run in the sandbox.
struct SandboxedProgram {
  std::string program;                 // absolute path
  std::vector<std::string> arguments;  // after the program's name
  std::vector<std::string> readable;   // absolute paths that it must see; missing ones are left out
  std::vector<std::string> writable;   // absolute paths of directories that it may write
  std::vector<int> listeners;          // become those that it inherits
};

// Makes the parts of a device tree in `data` that are missing (pool, tarn, spool, state). Returns
// false and sets `error` to a sentence naming the directory when it does not exist, may not be
// written, or lies above or below one of the device's own paths. `data` is absolute.
bool prepare_data(const std::string& data, std::string* error);

// bubblewrap's arguments: an empty root with the system's directories read-only, /tmp and /var
// fresh, `data` at its own path and its parts at the device's paths, and the program's own paths.
std::vector<std::string> sandbox_arguments(const std::string& data,
                                           const SandboxedProgram& program);

// Runs the program in the sandbox, passing SIGINT, SIGTERM, SIGHUP and SIGUSR1 on to it, until
// it ends; the end of its terminal is a SIGTERM.
// Returns its exit status, or 1 after a message on standard error when there is no sandbox to be
// had.
int run_sandboxed(const std::string& data, const SandboxedProgram& program);

}  // namespace platen

#endif  // HOST_SANDBOX_H_
