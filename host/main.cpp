// platend: serves the pages of the device.
// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>

#include "account_command.h"
#include "accounts.h"
#include "backup_command.h"
#include "certificate_command.h"
#include "config_command.h"
#include "device/configuration.h"
#include "device/database.h"
#include "device/log.h"
#include "device_directories.h"
#include "doctor_command.h"
#include "field_rules.h"
#include "first_settings.h"
#include "front.h"
#include "listener.h"
#include "log_file.h"
#include "options.h"
#include "parser_module.h"
#include "php_runtime.h"
#include "platend_conf.h"
#include "reload.h"
#include "restore_command.h"
#include "runtime_directory.h"
#include "sandbox.h"
#include "served_files.h"
#include "service.h"
#include "sessions.h"
#include "supervisor.h"

namespace platen {
namespace {

namespace fs = std::filesystem;

constexpr int kFailed = 1;
constexpr int kMisused = 2;

int refuse(const std::string& error) {
  fprintf(stderr, "platend: %s\n", error.c_str());
  return kFailed;
}

// Prints the lines; false when there is one.
bool tell_faults(const std::vector<std::string>& faults, FILE* stream) {
  for (const std::string& line : faults) {
    fprintf(stream, "%s\n", line.c_str());
  }
  return faults.empty();
}

std::string absolute(const std::string& path) { return fs::absolute(path).lexically_normal(); }

std::string database_file(const Options& options) { return options.state + "/configuration.db"; }

// Makes the directory of the history, for this user alone: what a template held may be meant for
// fewer eyes than what it holds now. In a pool its files could be templates themselves. Returns what
// is wrong with it, empty when nothing is.
std::string make_history(const Options& options, const std::string& path) {
  const auto is_in_data = [&](const char* part) {
    return !options.data.empty() && (path + '/').starts_with(absolute(options.data) + part);
  };
  if (!pool_of(path).empty() || is_in_data("/pool/") || is_in_data("/tarn/")) {
    return "lies in a pool of templates";
  }
  std::error_code fault;
  fs::create_directories(fs::path(path).parent_path(), fault);
  if (!fault && mkdir(path.c_str(), 0700) != 0 && errno != EEXIST) {
    fault.assign(errno, std::generic_category());
  }
  if (fault) return "cannot be made: " + fault.message();
  return fs::is_directory(path) ? "" : "is no directory";
}

bool has_history(const Options& options, std::string* error) {
  const std::string path = absolute(options.history);
  const std::string fault = make_history(options, path);
  if (fault.empty()) return true;
  *error = "the directory " + path + " of the history " + fault + "; choose another with --history";
  return false;
}

bool open_device(const Options& options, std::string* error) {
  std::error_code fault;
  fs::create_directories(options.state, fault);
  if (fault) {
    *error = "the directory " + options.state + " cannot be made: " + fault.message() +
             "; choose another with --state";
    return false;
  }
  const bool is_new = !fs::exists(database_file(options));
  return has_history(options, error) && load_served_files(options, error) &&
         open_configuration(database_file(options), error) &&
         (!is_new || store_first_settings(options.settings + "/settings.txt", error));
}

// What is printed once platend serves. The password of the first account is made here and not
// before, so that a start that fails has not made one that nobody has seen. The workers open
// connections of their own.
std::string greeting(const Options& options, const std::string& line) {
  try {
    Database database(database_file(options));
    Sessions sessions(database);
    const auto password = Accounts(database, sessions).make_first();
    return password ? line + "\nFirst login: admin / " + *password + " (to be changed)" : line;
  } catch (const std::exception& fault) {
    refuse("the first account cannot be made: " + std::string(fault.what()));
    return line;
  }
}

// A path by which programs in the sandbox reach a file outside, also one that comes in its place
// later: over its directory, which stays open. Numbers below 10 are left to inherited listeners.
std::string path_from_sandbox(const std::string& file) {
  const fs::path path = absolute(file);
  const int opened = open(path.parent_path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
  const int directory = fcntl(opened, F_DUPFD, 10);
  close(opened);
  return "/proc/self/fd/" + std::to_string(directory) + "/" + path.filename().string();
}

// The same program again, with absolute paths where it had others, and without its command. It reads
// the configuration file itself, so that it can do so again.
SandboxedProgram program_in_sandbox(const Options& options, const ParserModule& module) {
  SandboxedProgram program;
  program.program = fs::read_symlink("/proc/self/exe");
  program.arguments = {options.arguments.begin(),
                       options.arguments.end() - std::ssize(options.command)};
  program.readable = {program.program, fs::canonical(module.store_file())};
  const auto pass = [&](const std::string& name, const std::string& path) {
    program.arguments.push_back(std::string(name).append("=").append(path));
    return path;
  };
  program.readable.push_back(pass("--module", absolute(options.module)));
  program.readable.push_back(pass("--pages", absolute(options.pages)));
  program.readable.push_back(pass("--settings", absolute(options.settings)));
  program.writable = {pass("--state", absolute(options.state)),
                      pass("--history", absolute(options.history))};
  fs::create_directories(options.state);
  const auto pass_outer = [&](const std::string& name, const std::string& file) {
    if (!file.empty()) pass(name, path_from_sandbox(file));
  };
  pass_outer("--log-file", options.log_file);
  pass_outer("--config", options.config);
  pass_outer("--certificate", options.certificate);
  pass_outer("--private-key", options.private_key);
  program.arguments.emplace_back("--sandboxed");
  return program;
}

int serve_in_sandbox(const Options& options, const ParserModule& module,
                     const std::vector<int>& listeners) {
  std::string error;
  if (!has_history(options, &error)) {
    return refuse(error);
  }
  SandboxedProgram program = program_in_sandbox(options, module);
  program.listeners = listeners;
  return run_sandboxed(fs::canonical(options.data), program);
}

// What is read anew while platend serves is in `options`.
Duties duties_of(Options* options, Service* service, Front* front, const std::string& served) {
  Duties duties;
  duties.greeting = [=] { return greeting(*options, served); };
  duties.reload = [=] { return reload(options, service, front); };
  duties.reopen_log = [=] {
    std::string error;
    if (!options->log_file.empty() && !redirect_log(options->log_file, &error)) refuse(error);
  };
  return duties;
}

int serve_behind(Options* options, Service* service, int listener) {
  fcntl(listener, F_SETFL, O_NONBLOCK);
  return Supervisor(
             *options, service, listener, nullptr,
             duties_of(options, service, nullptr, "Platen serves FastCGI on " + options->fastcgi))
      .run();
}

int serve_http(Options* options, Service* service, const std::vector<int>& listeners) {
  std::string error;
  RuntimeDirectory directory;
  int workers_listener = -1;
  if (!directory.make(&error) ||
      (workers_listener = listen_unix(worker_socket(directory.path()), &error)) < 0) {
    return refuse(error);
  }
  fcntl(workers_listener, F_SETFL, O_NONBLOCK);
  const std::string scheme = options->certificate.empty() ? "http://" : "https://";
  std::string served = "Platen serves " + scheme + listener_address(listeners.front()) + "/";
  if (!options->metrics.empty()) {
    served += "\nMetrics at http://" + listener_address(listeners.back()) + "/metrics";
  }
  Front front(directory.path(), listeners, *options);
  return Supervisor(*options, service, workers_listener, &front,
                    duties_of(options, service, &front, served))
      .run();
}

int serve_here(Options options, const ParserModule& module, const std::vector<int>& listeners) {
  std::string error;
  set_log_level(options.log_level);
  if (!open_device(options, &error)) {
    return refuse(error);
  }
  if (!start_php()) {
    return refuse("the PHP engine does not start; its reason stands above");
  }
  module.init();
  Service service(options.pages, module, database_file(options), options.history);
  return options.fastcgi.empty() ? serve_http(&options, &service, listeners)
                                 : serve_behind(&options, &service, listeners.front());
}

int serve_on(const std::vector<int>& listeners, const Options& options,
             const ParserModule& module) {
  std::string error;
  if (!options.log_file.empty() && !redirect_log(options.log_file, &error)) {
    return refuse(error);
  }
  return options.data.empty() ? serve_here(options, module, listeners)
                              : serve_in_sandbox(options, module, listeners);
}

// One for the pages, then those for plain HTTP and for the metrics.
size_t listener_count(const Options& options) {
  return size_t{1} + (options.redirect_port != 0 ? 1 : 0) + (options.metrics.empty() ? 0 : 1);
}

// Opens the sockets on which the world talks to the workers or the web server. Returns none, with
// `error` set, when one cannot be had.
std::vector<int> open_listeners(const Options& options, std::string* error) {
  if (!options.fastcgi.empty()) {
    const int listener = listen_unix(options.fastcgi, error);
    return listener < 0 ? std::vector<int>{} : std::vector<int>{listener};
  }
  std::vector<int> listeners = {listen_tcp(options.address, options.port, "--port", error)};
  if (options.redirect_port != 0) {
    listeners.push_back(
        listen_tcp(options.address, options.redirect_port, "--redirect-port", error));
  }
  if (const auto local = local_address(options.metrics)) {
    listeners.push_back(listen_tcp(local->host, local->port, "--metrics", error));
  }
  return std::ranges::count(listeners, -1) == 0 ? listeners : std::vector<int>{};
}

// Serves on new sockets, unless some were handed in, and removes the file of a Unix socket in the
// end.
int open_and_serve(const Options& options, const ParserModule& module) {
  const std::vector<int> inherited = take_inherited_listeners();
  if (!inherited.empty() && inherited.size() != listener_count(options)) {
    return refuse("it was handed " + std::to_string(inherited.size()) + " sockets, and needs " +
                  std::to_string(listener_count(options)) +
                  ": for --port, --redirect-port and --metrics, as far as they are set");
  }
  if (!inherited.empty()) {
    return serve_on(inherited, options, module);
  }
  std::string error;
  const std::vector<int> listeners = open_listeners(options, &error);
  if (listeners.empty()) {
    return refuse(error);
  }
  const int status = serve_on(listeners, options, module);
  if (!options.fastcgi.empty()) {
    unlink(options.fastcgi.c_str());
  }
  return status;
}

int serve(const Options& options) {
  std::string error;
  ParserModule module;
  if (!module.load(options.module, &error) ||
      (!options.data.empty() && !prepare_data(fs::absolute(options.data), &error))) {
    return refuse(error);
  }
  return tell_faults(served_file_faults(options), stderr) ? open_and_serve(options, module)
                                                          : kFailed;
}

// The store knows templates, and what it keeps of them, by the device's own paths.
int restore_in_sandbox(const Options& options, const ParserModule& module,
                       const std::string& file) {
  SandboxedProgram program = program_in_sandbox(options, module);
  program.readable.push_back(absolute(file));
  program.arguments.insert(program.arguments.end(), options.command.begin(),
                           options.command.end() - 1);
  program.arguments.push_back(absolute(file));
  return run_sandboxed(fs::canonical(options.data), program);
}

int run_restore(const Options& options, const std::vector<std::string>& words,
                const ParserModule& module) {
  std::string error;
  const std::string file = restored_file(words);
  if (!file.empty()) {
    if (!options.data.empty() && !prepare_data(fs::absolute(options.data), &error)) {
      return refuse(error);
    }
    fs::create_directories(options.state);
    if (!has_history(options, &error)) return refuse(error);
    if (!options.data.empty()) return restore_in_sandbox(options, module, file);
  }
  return restore_command(words, {database_file(options), "", absolute(options.history), module},
                         stdout, stderr);
}

// The commands that need the store.
int run_with_module(const Options& options, const std::vector<std::string>& words) {
  std::string error;
  ParserModule module;
  if (!module.load(options.module, &error)) return refuse(error);
  if (options.command.front() == "restore") return run_restore(options, words, module);
  return backup_command(words, {database_file(options), options.data, "", module}, stdout, stderr);
}

int run_command(const Options& options) {
  const std::string& name = options.command.front();
  const std::vector<std::string> words(options.command.begin() + 1, options.command.end());
  if (name == "certificate") return certificate_command(words, options.state, stdout, stderr);
  if (name == "account") return account_command(words, database_file(options), stdout, stderr);
  if (name == "config") return config_command(words, database_file(options), stdout, stderr);
  return run_with_module(options, words);
}

// Where the configuration is faulty, what is not of the command line is by default.
int diagnose(Options options, size_t faults) {
  fill_defaults(&options);
  const std::vector<std::string> words(options.command.begin() + 1, options.command.end());
  return doctor_command(words, options, faults, stdout, stderr);
}

// What lies elsewhere can be served without one of them.
void advise_on_directories(const Options& options) {
  if (!options.data.empty() || options.sandboxed) return;
  for (const std::string& fault : device_directory_faults()) {
    refuse(fault);
  }
}

int run(const std::vector<std::string>& arguments) {
  Options options;
  std::string error;
  if (!parse_options(arguments, &options, &error)) {
    fprintf(stderr, "platend: %s\nplatend --help tells the options.\n", error.c_str());
    return kMisused;
  }
  if (options.help) {
    fputs(help_text().c_str(), stdout);
    return 0;
  }
  if (options.version) {
    puts("platend " PLATEN_VERSION);
    return 0;
  }
  const auto faults = complete_options(&options);
  const bool is_sound = tell_faults(faults, options.check ? stdout : stderr);
  if (!options.command.empty() && options.command.front() == "doctor") {
    return diagnose(std::move(options), faults.size());
  }
  if (!is_sound) return kFailed;
  if (!options.command.empty()) return run_command(options);
  advise_on_directories(options);
  if (options.check) {
    return tell_faults(served_file_faults(options), stdout) ? 0 : kFailed;
  }
  return serve(options);
}

}  // namespace
}  // namespace platen

int main(int argc, char** argv) {
  try {
    return platen::run({argv + 1, argv + argc});
  } catch (const std::exception& fault) {
    return platen::refuse(fault.what());
  }
}
