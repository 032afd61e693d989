// The command line of platend.
// SPDX-License-Identifier: MIT
#ifndef HOST_OPTIONS_H_
#define HOST_OPTIONS_H_

#include <string>
#include <vector>

namespace platen {

struct Options {
  bool help = false;
  bool version = false;
  bool check = false;
  std::vector<std::string> command;  // "account" or "config" and the words after it; empty: serve
  std::string address = "127.0.0.1";
  int port = 8080;      // 0: any free one
  std::string fastcgi;  // Unix socket; empty: platend starts its own web server
  std::string data;     // empty: the device's own paths
  std::string pages;
  std::string module;
  std::string settings;  // directory of phrases/ and paths.txt
  std::string state;     // directory of the configuration database
  int workers = 2;
  int worker_requests = 10000;
  int request_time = 30;  // seconds
  int log_level = 6;
  std::string log_file;  // empty: standard error
};

// Reads the arguments after the program's name, as "--name value" or "--name=value"; of an option
// given twice the last one counts. A command, "account" or "config", ends the options. Defaults are
// filled in, and with `data` those below it.
// Returns false and sets `error` to one sentence that names the option when an argument is not
// understood; `options` is unspecified then.
bool parse_options(const std::vector<std::string>& arguments, Options* options, std::string* error);

// The arguments that parse_options() reads as `options`.
std::vector<std::string> option_arguments(const Options& options);

// The text of --help.
std::string help_text();

}  // namespace platen

#endif  // HOST_OPTIONS_H_
