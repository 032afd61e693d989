// The options of platend as one table, from which they are read and explained.
// SPDX-License-Identifier: MIT
#include "options.h"

#include <algorithm>
#include <charconv>
#include <string_view>
#include <variant>

#include "installed_place.h"

namespace platen {
namespace {

constexpr std::string_view kCommands[] = {"account", "config"};

struct Flag {
  bool Options::*field;
};

struct Text {
  std::string Options::*field;
};

struct Number {
  int Options::*field;
  int least;
  int most;
};

struct OptionRow {
  std::string_view name;
  std::string_view value;  // how the help calls it
  std::variant<Flag, Text, Number> target;
  std::string_view help;
};

const OptionRow kOptions[] = {
    {"--port", "N", Number{&Options::port, 0, 65535},
     "port of the web server, 0 for any free one (8080)"},
    {"--address", "IP", Text{&Options::address}, "address of the web server (127.0.0.1)"},
    {"--fastcgi", "SOCKET", Text{&Options::fastcgi},
     "start no web server; answer FastCGI on this Unix socket instead"},
    {"--data", "DIR", Text{&Options::data},
     "serve the device tree DIR (pool, tarn, spool, etc, state) in a sandbox;\n"
     "without it the paths of the device itself are used"},
    {"--pages", "DIR", Text{&Options::pages}, "the pages to serve (those of platend)"},
    {"--module", "FILE", Text{&Options::module}, "the parser module (that of platend)"},
    {"--settings", "DIR", Text{&Options::settings},
     "directory of phrases/ and paths.txt (/etc/platen; with --data: DIR/etc)"},
    {"--state", "DIR", Text{&Options::state},
     "directory of the configuration database (/var/lib/platen; with --data:\nDIR/state)"},
    {"--workers", "N", Number{&Options::workers, 1, 256}, "processes that answer requests (2)"},
    {"--worker-requests", "N", Number{&Options::worker_requests, 1, 1000000000},
     "requests after which a worker is replaced (10000)"},
    {"--request-time", "SECONDS", Number{&Options::request_time, 1, 3600},
     "time after which a request is given up (30)"},
    {"--log-level", "N", Number{&Options::log_level, 0, 1000},
     "record log lines up to this level: 3 errors, 5 warnings, 6 notices,\n"
     "8 calls, 102 everything; 9 and above show passwords (6)"},
    {"--log-file", "FILE", Text{&Options::log_file}, "append the log to FILE (standard error)"},
    {"--check", "", Flag{&Options::check},
     "check the pages and the names of clone groups, print their faults and end:\n0 none, 1 some"},
    {"--version", "", Flag{&Options::version}, "print the version and end"},
    {"--help", "", Flag{&Options::help}, "print this text and end"},
};

bool set_number(const Number& target, std::string_view value, Options* options) {
  int number = 0;
  const auto [end, fault] = std::from_chars(value.data(), value.data() + value.size(), number);
  if (fault != std::errc() || end != value.data() + value.size()) {
    return false;
  }
  options->*target.field = number;
  return number >= target.least && number <= target.most;
}

bool set_value(const OptionRow& row, const std::string& value, Options* options,
               std::string* error) {
  if (value.empty()) {
    *error = std::string(row.name) + " needs a value (" + std::string(row.value) + ")";
    return false;
  }
  if (const auto* text = std::get_if<Text>(&row.target)) {
    options->*text->field = value;
    return true;
  }
  const auto& number = std::get<Number>(row.target);
  if (!set_number(number, value, options)) {
    *error = std::string(row.name) + " takes a number from " + std::to_string(number.least) +
             " to " + std::to_string(number.most) + ", not \"" + value + "\"";
    return false;
  }
  return true;
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

std::string assignment(std::string_view name, const std::string& value) {
  std::string text(name);
  return text.append("=").append(value);
}

void fill_defaults(Options* options) {
  const auto fill = [](std::string* field, const std::string& value) {
    if (field->empty()) {
      *field = value;
    }
  };
  const bool own_tree = !options->data.empty();
  fill(&options->pages, installed_place(PLATEN_PAGES_PLACE));
  fill(&options->module, installed_place(PLATEN_MODULE_PLACE));
  fill(&options->settings, own_tree ? options->data + "/etc" : "/etc/platen");
  fill(&options->state, own_tree ? options->data + "/state" : "/var/lib/platen");
}

}  // namespace

bool parse_options(const std::vector<std::string>& arguments, Options* options,
                   std::string* error) {
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
    if (!set_value(*row, argument.value, options, error)) {
      return false;
    }
  }
  const Options defaults;
  if (!options->fastcgi.empty() &&
      (options->port != defaults.port || options->address != defaults.address)) {
    *error = "--fastcgi starts no web server, so it goes with neither --port nor --address";
    return false;
  }
  fill_defaults(options);
  return true;
}

std::vector<std::string> option_arguments(const Options& options) {
  std::vector<std::string> arguments;
  for (const OptionRow& row : kOptions) {
    if (const auto* flag = std::get_if<Flag>(&row.target)) {
      if (options.*flag->field) {
        arguments.emplace_back(row.name);
      }
    } else if (const auto* number = std::get_if<Number>(&row.target)) {
      arguments.push_back(assignment(row.name, std::to_string(options.*number->field)));
    } else if (const auto& text = options.*std::get<Text>(row.target).field; !text.empty()) {
      arguments.push_back(assignment(row.name, text));
    }
  }
  return arguments;
}

std::string help_text() {
  constexpr size_t kColumn = 26;
  std::string text =
      "platend serves the pages of a networked scanner.\n\n"
      "Usage: platend [OPTION]...\n"
      "       platend [OPTION]... account list|add|reset|disable|enable [NAME]\n"
      "       platend [OPTION]... config list|get|set [KEY [VALUE]]\n\n"
      "It starts lighttpd as its web server, answers the pages with a few worker processes\n"
      "of its own, and prints the address once it serves. Ctrl-C stops everything.\n\n"
      "At its first start it makes the account \"admin\" and prints its password. With "
      "\"account\"\n"
      "it manages the accounts of the same --data or --state, with \"config\" the device's\n"
      "settings there, and ends.\n\n"
      "Options (defaults in parentheses):\n";
  for (const OptionRow& row : kOptions) {
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
         "  platend --check --pages pages         check the pages only\n"
         "  platend --data data account reset admin\n"
         "                                        give the administrator a new password\n"
         "  platend --data data config list       show the device's settings\n"
         "  platend --fastcgi /run/platen.sock    work behind a web server that is already there\n";
}

}  // namespace platen
