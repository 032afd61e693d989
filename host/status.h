// How the server does: its processes, its disks, and the templates that nobody can open.
// SPDX-License-Identifier: MIT
#ifndef HOST_STATUS_H_
#define HOST_STATUS_H_

#include <cstdint>
#include <string>
#include <vector>

#include "output_format.h"
#include "parser_module.h"
#include "server_state.h"

namespace platen {

// A directory whose disk is told of, and what people keep there.
struct StoragePlace {
  std::string directory;
  std::string name;
};

// Whether so little room is left that saves may soon fail: less than 20 MiB, or less than 1 GiB
// and a twentieth of the disk.
bool is_low(uint64_t free_bytes, uint64_t all_bytes);

// The disks of the places, one for all places on it: [{"names", "free", "size", "isLow"}].
Json disks_json(const std::vector<StoragePlace>& places);

// Why the store cannot open a template, in its words, or "".
std::string open_fault(const ParserModule& module, const std::string& file);

// The directories of pools in `roots`, as "/tmp/template/pool", each root first.
std::vector<std::string> pool_directories(const std::vector<std::string>& roots);

// Opens every template of the directories, 10,000 at most: {"checked", "isComplete", "broken":
// [{"file", "reason"}]} with the first 100 that cannot be opened.
Json templates_json(const ParserModule& module, const std::vector<std::string>& directories);

// What the processes tell: {"started", "uptime" in seconds, "requests", "refusals", "failures", "workers",
// "restarts", "ends"}, the latest end first.
Json processes_json(const ServerState& server);

// Where the status page finds what it shows.
struct StatusSources {
  const ServerState* server;  // null where there are no workers
  const ParserModule& module;
  std::string state;  // the directory of settings and accounts
};

// All of it, for the status page: {"version", "processes", "poolGeneration", "disks", "templates"}.
// Without a server "processes" is null.
Json status_json(const StatusSources& sources);

}  // namespace platen

#endif  // HOST_STATUS_H_
