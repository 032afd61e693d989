// The options of platend, as its command line and its configuration file give them.
// SPDX-License-Identifier: MIT
#ifndef HOST_OPTIONS_H_
#define HOST_OPTIONS_H_

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace platen {

inline constexpr int kMostWorkers = 256;

struct Options {
  bool help = false;
  bool version = false;
  bool check = false;
  bool sandboxed = false;              // the process runs in the sandbox that `data` asked for
  std::vector<std::string> arguments;  // those that parse_options() has read
  std::vector<std::string>
      command;         // "account", "config" or another, and the words after it; empty: serve
  std::string config;  // configuration file; empty: platend.conf in `settings`, if it is there
  std::string address = "127.0.0.1";
  int port = 8080;          // 0: any free one
  std::string certificate;  // file with the chain; empty: no TLS
  std::string private_key;
  int redirect_port = 0;  // where plain HTTP is led to TLS; 0: nowhere
  std::string metrics;    // loopback address and port of the metrics; empty: there are none
  std::string fastcgi;    // Unix socket; empty: platend starts its own web server
  std::string data;       // empty: the device's own paths
  std::string pages;
  std::string module;
  std::string settings;  // directory of paths.txt, and of phrases on top of those of the pages
  std::string state;     // directory of the configuration database
  std::string history;   // directory of what templates held before
  int workers = 2;
  int worker_requests = 10000;
  int request_time = 30;  // seconds
  int log_level = 6;
  std::string log_file;  // empty: standard error
};

// Reads the arguments after the program's name over `options`, as "--name value" or "--name=value";
// of an option given twice the last one counts. A command, such as "account", ends the options.
// Returns false and sets `error` to one sentence that names the option when an argument is not
// understood; `options` is unspecified then.
bool parse_options(const std::vector<std::string>& arguments, Options* options, std::string* error);

// Sets the option "--`name`" as a configuration file does; a relative path is below `base`. Returns
// what is wrong, empty when nothing is; `options` is unchanged when something is.
std::string set_option(std::string_view name, const std::string& value, const std::string& base,
                       Options* options);

// The directory of the device's settings: as given, else the one that goes with `data`.
std::string settings_directory(const Options& options);

// Fills in what depends on other options, where it was not given. Returns what contradicts itself,
// empty when nothing does; all is filled in either way.
std::string fill_defaults(Options* options);

// Takes over from `fresh` what may change while platend serves. Returns the names of the other
// settings that differ; they stay.
std::vector<std::string> take_over(const Options& fresh, Options* options);

// A loopback address with a port.
struct LocalAddress {
  std::string host;  // "127.0.0.1", "::1"
  int port;          // 0: any free one
};

// Reads "127.0.0.1:9100" or "[::1]:9100"; nothing when the text is no such address, or one that other
// machines reach.
std::optional<LocalAddress> local_address(const std::string& text);

// The names of the options that may stand in a configuration file.
std::vector<std::string> setting_names();

// Each setting with its value as text, in the order of the help; empty where it has none.
std::vector<std::pair<std::string, std::string>> setting_values(const Options& options);

// The text of --help.
std::string help_text();

}  // namespace platen

#endif  // HOST_OPTIONS_H_
