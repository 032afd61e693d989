// Runs PHP text inside this process.
// SPDX-License-Identifier: MIT
//
// The engine reads no settings file, no directory and no file. A page may use 2 seconds of
// processor time, 32 MiB of memory and 16 MiB of output; wall-clock time is the supervisor's to
// watch. What gives access to files, programs, the network, other processes or the engine's own
// settings is off.
#ifndef HOST_PHP_RUNTIME_H_
#define HOST_PHP_RUNTIME_H_

#include <string>

namespace platen {

// Starts the engine, once in a process; processes forked afterwards run pages without a start of
// their own. Returns false when the engine does not start, which it explains on standard error.
bool start_php();

// The version of the engine that this program was built with.
const char* php_engine_version();

// What a run has come to.
struct PhpResult {
  std::string output;  // empty when there is a fault
  std::string fault;   // the fatal error, "NAME line LINE: MESSAGE"; empty = none
};

// Runs `text` as the page `name`, to its end or its first fatal error, destructors included; $_GET
// has the fields of `query`, which is encoded as in an address. Warnings and notices are logged
// with their place and leave the page to go on.
// Requires: start_php() was called.
PhpResult run_php(const std::string& name, const std::string& text, std::string query);

}  // namespace platen

#endif  // HOST_PHP_RUNTIME_H_
