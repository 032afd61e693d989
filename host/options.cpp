// The options of platend as one table, from which they are read, set and explained.
// SPDX-License-Identifier: MIT
#include "options.h"

#include <arpa/inet.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <string_view>
#include <variant>

#include "installed_place.h"

namespace platen {
namespace {

constexpr std::string_view kCommands[] = {"account", "backup", "certificate",
                                          "config",  "doctor", "restore"};

struct Flag {
  bool Options::*field;
};

struct Text {
  std::string Options::*field;
};

struct Path {
  std::string Options::*field;
};

struct Local {
  std::string Options::*field;
};

struct Number {
  int Options::*field;
  int least;
  int most;
};

// What is said of one start stands on the command line only; a setting also stands in a file, and a
// live one may change while platend serves.
enum class Use { start, setting, live_setting };

struct OptionRow {
  std::string_view name;
  std::string_view value;  // how the help calls it
  Use use;
  std::variant<Flag, Text, Path, Local, Number> target;
  std::string_view help;  // empty: for platend's own use
};

const OptionRow kOptions[] = {
    {"--config", "FILE", Use::start, Path{&Options::config},
     "take options with a value from FILE, as lines such as \"port = 80\", too;\n"
     "the command line goes before it (platend.conf in the directory of\n"
     "--settings, if it is there)"},
    {"--port", "N", Use::setting, Number{&Options::port, 0, 65535},
     "port of the web server, 0 for any free one (8080)"},
    {"--address", "IP", Use::setting, Text{&Options::address},
     "address of the web server (127.0.0.1)"},
    {"--certificate", "FILE", Use::setting, Path{&Options::certificate},
     "serve HTTPS with this certificate and its chain (PEM)"},
    {"--private-key", "FILE", Use::setting, Path{&Options::private_key},
     "the certificate's private key (PEM)"},
    {"--redirect-port", "N", Use::setting, Number{&Options::redirect_port, 0, 65535},
     "port on which plain HTTP is led to HTTPS, 0 for none (0)"},
    {"--metrics", "IP:PORT", Use::setting, Local{&Options::metrics},
     "loopback address of /metrics and /health, for monitoring systems (none)"},
    {"--fastcgi", "SOCKET", Use::setting, Path{&Options::fastcgi},
     "start no web server; answer FastCGI on this Unix socket instead"},
    {"--data", "DIR", Use::setting, Path{&Options::data},
     "serve the device tree DIR (pool, tarn, spool, etc, state) in a sandbox;\n"
     "without it the paths of the device itself are used"},
    {"--pages", "DIR", Use::live_setting, Path{&Options::pages},
     "the pages to serve (those of platend)"},
    {"--module", "FILE", Use::setting, Path{&Options::module},
     "the parser module (that of platend)"},
    {"--settings", "DIR", Use::live_setting, Path{&Options::settings},
     "directory of paths.txt, and of phrases/ on top of those of the pages\n(/etc/platen; with "
     "--data: DIR/etc)"},
    {"--state", "DIR", Use::setting, Path{&Options::state},
     "directory of the configuration database (/var/lib/platen; with --data:\nDIR/state)"},
    {"--history", "DIR", Use::setting, Path{&Options::history},
     "directory of what templates held before they were changed, outside of all\npools (history in "
     "that of --state; with --data: DIR/history)"},
    {"--workers", "N", Use::live_setting, Number{&Options::workers, 1, kMostWorkers},
     "processes that answer requests (2)"},
    {"--worker-requests", "N", Use::live_setting, Number{&Options::worker_requests, 1, 1000000000},
     "requests after which a worker is replaced (10000)"},
    {"--request-time", "SECONDS", Use::setting, Number{&Options::request_time, 1, 3600},
     "time after which a request is given up (30)"},
    {"--log-level", "N", Use::live_setting, Number{&Options::log_level, 0, 1000},
     "record log lines up to this level: 3 errors, 5 warnings, 6 notices,\n"
     "8 calls, 102 everything; 9 and above show passwords (6)"},
    {"--log-file", "FILE", Use::live_setting, Path{&Options::log_file},
     "append the log to FILE (standard error)"},
    {"--check", "", Use::start, Flag{&Options::check},
     "check configuration, pages and phrases, print their faults and end:\n0 none, 1 some"},
    {"--version", "", Use::start, Flag{&Options::version}, "print the version and end"},
    {"--help", "", Use::start, Flag{&Options::help}, "print this text and end"},
    {"--sandboxed", "", Use::start, Flag{&Options::sandboxed}, ""},
};

std::string set_number(const Number& target, const std::string& value, Options* options) {
  int number = 0;
  const char* last = value.data() + value.size();
  const auto [end, fault] = std::from_chars(value.data(), last, number);
  if (fault != std::errc() || end != last || number < target.least || number > target.most) {
    return " takes a number from " + std::to_string(target.least) + " to " +
           std::to_string(target.most) + ", not \"" + value + "\"";
  }
  options->*target.field = number;
  return "";
}

std::string set_local(const Local& target, const std::string& value, Options* options) {
  if (!local_address(value)) {
    return " takes a loopback address and a port, such as 127.0.0.1:9100 or [::1]:9100, not \"" +
           value + "\"";
  }
  options->*target.field = value;
  return "";
}

// Returns what is to stand behind the option's name in a complaint; empty when there is none.
std::string set_value(const OptionRow& row, const std::string& value, const std::string& base,
                      Options* options) {
  if (value.empty()) {
    return " needs a value (" + std::string(row.value) + ")";
  }
  if (const auto* number = std::get_if<Number>(&row.target)) {
    return set_number(*number, value, options);
  }
  if (const auto* local = std::get_if<Local>(&row.target)) {
    return set_local(*local, value, options);
  }
  if (const auto* path = std::get_if<Path>(&row.target)) {
    options->*path->field = base.empty() ? value : (std::filesystem::path(base) / value).string();
  } else {
    options->*std::get<Text>(row.target).field = value;
  }
  return "";
}

// Splits "--name=value"; a lone "--name" leaves the value to the next argument.
struct Argument {
  std::string name;
  std::string value;
  bool has_value;
};

Argument split_argument(const std::string& argument) {
  const auto equals = argument.find('=');
  if (!argument.starts_with("--") || equals == std::string::npos) {
    return {argument, "", false};
  }
  return {argument.substr(0, equals), argument.substr(equals + 1), true};
}

}  // namespace

std::optional<LocalAddress> local_address(const std::string& text) {
  const size_t colon = text.rfind(':');
  if (colon == std::string::npos) return std::nullopt;
  const std::string host = text.substr(0, colon);
  const std::string digits = text.substr(colon + 1);
  int port = -1;
  const auto [end, fault] = std::from_chars(digits.data(), digits.data() + digits.size(), port);
  if (fault != std::errc() || end != digits.data() + digits.size() || port < 0 || port > 65535) {
    return std::nullopt;
  }
  if (host == "[::1]") return LocalAddress{"::1", port};
  in_addr address{};
  const bool is_local = inet_pton(AF_INET, host.c_str(), &address) == 1 &&
                        (ntohl(address.s_addr) >> 24) == IN_LOOPBACKNET;
  return is_local ? std::optional(LocalAddress{host, port}) : std::nullopt;
}

bool parse_options(const std::vector<std::string>& arguments, Options* options,
                   std::string* error) {
  options->arguments = arguments;
  for (size_t i = 0; i < arguments.size(); ++i) {
    if (std::ranges::find(kCommands, arguments[i]) != std::end(kCommands)) {
      options->command.assign(arguments.begin() + static_cast<std::ptrdiff_t>(i), arguments.end());
      break;
    }
    Argument argument = split_argument(arguments[i]);
    const auto* row = std::ranges::find(kOptions, argument.name, &OptionRow::name);
    if (row == std::end(kOptions)) {
      *error = "there is no option \"" + argument.name + "\"";
      return false;
    }
    if (const auto* flag = std::get_if<Flag>(&row->target)) {
      if (argument.has_value) {
        *error = argument.name + " takes no value";
        return false;
      }
      options->*flag->field = true;
      continue;
    }
    if (!argument.has_value && i + 1 < arguments.size()) {
      argument.value = arguments[++i];
    }
    const std::string fault = set_value(*row, argument.value, "", options);
    if (!fault.empty()) {
      *error = argument.name + fault;
      return false;
    }
  }
  return true;
}

std::string set_option(std::string_view name, const std::string& value, const std::string& base,
                       Options* options) {
  const std::string option = "--" + std::string(name);
  const auto* row = std::ranges::find(kOptions, option, &OptionRow::name);
  if (row == std::end(kOptions) || row->use == Use::start) {
    return "there is no setting \"" + std::string(name) + "\"; platend --help tells the options";
  }
  const std::string fault = set_value(*row, value, base, options);
  return fault.empty() ? "" : std::string(name) + fault;
}

namespace {

std::string contradiction_in(const Options& options) {
  const Options defaults;
  if (options.certificate.empty() != options.private_key.empty()) {
    return "--certificate and --private-key go together";
  }
  if (options.redirect_port != 0 && options.certificate.empty()) {
    return "--redirect-port leads to HTTPS, so it needs --certificate";
  }
  if (options.fastcgi.empty()) return "";
  if (!options.certificate.empty()) {
    return "--fastcgi starts no web server, so it takes no --certificate";
  }
  if (!options.metrics.empty()) {
    return "--fastcgi starts no web server, so it takes no --metrics";
  }
  return options.port == defaults.port && options.address == defaults.address
             ? ""
             : "--fastcgi starts no web server, so it goes with neither --port nor --address";
}

}  // namespace

std::string settings_directory(const Options& options) {
  if (!options.settings.empty()) return options.settings;
  return options.data.empty() ? "/etc/platen" : options.data + "/etc";
}

std::string fill_defaults(Options* options) {
  const auto fill = [](std::string* field, const std::string& value) {
    if (field->empty()) {
      *field = value;
    }
  };
  fill(&options->pages, installed_place(PLATEN_PAGES_PLACE));
  fill(&options->module, installed_place(PLATEN_MODULE_PLACE));
  fill(&options->settings, settings_directory(*options));
  fill(&options->state, options->data.empty() ? "/var/lib/platen" : options->data + "/state");
  fill(&options->history, (options->data.empty() ? options->state : options->data) + "/history");
  return contradiction_in(*options);
}

std::vector<std::string> take_over(const Options& fresh, Options* options) {
  std::vector<std::string> staying;
  for (const OptionRow& row : kOptions) {
    if (row.use == Use::start) continue;
    const bool differs = std::visit(
        [&](const auto& target) {
          if (fresh.*target.field == options->*target.field) return false;
          if (row.use == Use::live_setting) options->*target.field = fresh.*target.field;
          return true;
        },
        row.target);
    if (differs && row.use == Use::setting) staying.emplace_back(row.name.substr(2));
  }
  return staying;
}

std::vector<std::string> setting_names() {
  std::vector<std::string> names;
  for (const OptionRow& row : kOptions) {
    if (row.use != Use::start) names.emplace_back(row.name.substr(2));
  }
  return names;
}

namespace {

std::string value_text(const OptionRow& row, const Options& options) {
  if (const auto* number = std::get_if<Number>(&row.target)) {
    return std::to_string(options.*number->field);
  }
  const auto* path = std::get_if<Path>(&row.target);
  if (path != nullptr) return options.*path->field;
  const auto* local = std::get_if<Local>(&row.target);
  return local != nullptr ? options.*local->field : options.*std::get<Text>(row.target).field;
}

}  // namespace

std::vector<std::pair<std::string, std::string>> setting_values(const Options& options) {
  std::vector<std::pair<std::string, std::string>> values;
  for (const OptionRow& row : kOptions) {
    if (row.use == Use::start) continue;
    values.emplace_back(row.name.substr(2), value_text(row, options));
  }
  return values;
}

std::string help_text() {
  constexpr size_t kColumn = 26;
  std::string text =
      "platend serves the pages of a networked scanner.\n\n"
      "Usage: platend [OPTION]...\n"
      "       platend [OPTION]... account list|add|reset|disable|enable [NAME]\n"
      "       platend [OPTION]... config list|get|set [KEY [VALUE]]\n"
      "       platend [OPTION]... certificate [NAME]...\n"
      "       platend [OPTION]... backup FILE\n"
      "       platend [OPTION]... restore [--check] FILE\n"
      "       platend [OPTION]... doctor [FILE]\n\n"
      "It starts lighttpd as its web server, answers the pages with a few worker processes\n"
      "of its own, and prints the address once it serves. Ctrl-C stops everything.\n\n"
      "At its first start it makes the account \"admin\" and prints its password. With "
      "\"account\"\n"
      "it manages the accounts of the same --data or --state, with \"config\" the device's\n"
      "settings there, and ends; \"certificate\" makes a self-signed one for a first try, and\n"
      "\"doctor\" tells what somebody who helps needs to know, without a secret. \"backup\" puts\n"
      "accounts, settings and templates into one file, also while platend serves, and\n"
      "\"restore\" puts them back.\n\n"
      "Options (defaults in parentheses):\n";
  for (const OptionRow& row : kOptions) {
    if (row.help.empty()) continue;
    std::string line = "  " + std::string(row.name) + " " + std::string(row.value);
    line.resize(std::max(kColumn, line.size() + 1), ' ');
    for (const char c : row.help) {
      line += c;
      if (c == '\n') {
        line.append(kColumn, ' ');
      }
    }
    text += line + "\n";
  }
  return text +
         "\nExamples:\n"
         "  platend --data data --port 9000       serve a device tree on another port\n"
         "  platend --check --data data           check configuration and pages only\n"
         "  platend --data data account reset admin\n"
         "                                        give the administrator a new password\n"
         "  platend --data data config list       show the device's settings\n"
         "  platend --fastcgi /run/platen.sock    work behind a web server that is already there\n";
}

}  // namespace platen
