// What monitoring systems ask for: counters in their plain text form, and whether templates can be
// read and saved.
// SPDX-License-Identifier: MIT
#ifndef HOST_METRICS_H_
#define HOST_METRICS_H_

#include <string>
#include <vector>

#include "http_message.h"
#include "parser_module.h"
#include "server_state.h"

namespace platen {

// The counters since the start: lines "NAME{LABEL="VALUE"} NUMBER", each name after its # HELP and
// # TYPE. Times are in seconds.
std::string metrics_text(const ServerState& server);

// Where templates have to be read and saved.
struct TemplatePlaces {
  std::string template_file;             // is opened, if it is there
  std::vector<std::string> directories;  // each has to take a new file
};

// Those of the device: its default template and its pools.
TemplatePlaces device_templates();

// Why templates cannot be read or saved, as "templates cannot be saved: DIRECTORY: reason"; empty when
// they can. Opens the template, and writes a file without a name into each directory, which neither
// it nor anybody who watches it ever shows.
std::string health_fault(const ParserModule& module, const TemplatePlaces& places);

// Answers a request that came to the address of the metrics: /metrics, and /health, which is 200 "ok"
// or 503 with the reason.
Response answer_monitor(const Request& request, const ServerState& server,
                        const ParserModule& module);

}  // namespace platen

#endif  // HOST_METRICS_H_
