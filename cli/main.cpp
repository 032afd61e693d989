// ktp, the command line for scan templates: reads its arguments and runs a verb.
// SPDX-License-Identifier: MIT
#include <pwd.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <string>
#include <string_view>

#include "template_file.h"
#include "verbs.h"

namespace {

constexpr char kDeviceHistory[] = "/var/lib/platen/history";

using ktp::Options;
using ktp::Verb;

constexpr char kOperands[] = "operands";

// Shows the operands of a verb in its usage line, instead of in a section of their own.
class Formatter : public CLI::Formatter {
 public:
  std::string make_usage(const CLI::App* app, std::string name) const override {
    const CLI::Option* operands = app->get_option_no_throw(kOperands);
    if (!operands) return CLI::Formatter::make_usage(app, name);
    return "Usage: " + name + " [OPTIONS] " + operands->get_description() + "\n\n";
  }
  std::string make_positionals(const CLI::App* /*app*/) const override { return ""; }
};

void add_flag(CLI::App* app, unsigned takes, unsigned bit, const char* name, bool* target,
              const char* help) {
  if ((takes & bit) != 0) app->add_flag(name, *target, help);
}

void add_text(CLI::App* app, unsigned takes, unsigned bit, const char* name, std::string* target,
              const char* help) {
  if ((takes & bit) != 0) app->add_option(name, *target, help);
}

void add_verb(CLI::App* app, const Verb& verb, Options* options) {
  CLI::App* sub = app->add_subcommand(verb.name, verb.help);
  sub->add_option(kOperands, options->operands, verb.operands)
      ->required()
      ->expected(verb.least, verb.most);
  const unsigned takes = verb.takes;
  add_flag(sub, takes, ktp::kJson, "--json", &options->json, "print JSON");
  add_flag(sub, takes, ktp::kForce, "--force", &options->force,
           "also change the protected default, or replace a file that is there");
  add_text(sub, takes, ktp::kType, "--type", &options->type, "type of the attributes");
  add_flag(sub, takes, ktp::kType, "--compulsory", &options->compulsory, "mark them compulsory");
  add_flag(sub, takes, ktp::kType, "--optional", &options->optional, "take that mark away");
  add_text(sub, takes, ktp::kFilters, "--creator", &options->creator, "only those made by it");
  add_text(sub, takes, ktp::kFilters, "--service", &options->service, "only those that have it");
  add_text(sub, takes, ktp::kFactory, "--from", &options->factory,
           "directory of the factory templates (../factory beside the file)");
  add_text(sub, takes, ktp::kVersion, "--to", &options->version,
           "number of the version, as history tells it (the newest)");
}

std::string login_name() {
  const passwd* entry = ::getpwuid(::geteuid());
  return entry ? entry->pw_name : std::to_string(::geteuid());
}

// Where the old bytes go: what was said, or the device's own place where there is one.
std::string history_directory(const CLI::Option* said, const std::string& text) {
  if (said->count() > 0) return text;
  const char* wanted = std::getenv("KTP_HISTORY");
  if (wanted) return wanted;
  return ktp::is_directory(kDeviceHistory) ? kDeviceHistory : "";
}

ktp::Exit run(int argc, char** argv) {
  Options options;
  CLI::App app("ktp: the command line for scan templates. See ktp(1).", "ktp");
  app.formatter(std::make_shared<Formatter>());
  app.require_subcommand(1);
  app.fallthrough();
  const CLI::Option* history = app.add_option(
      "--history", options.history, "directory that keeps what changes replace, \"\" for none");
  for (const Verb& verb : ktp::verbs()) add_verb(&app, verb, &options);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& fault) {
    return app.exit(fault) == 0 ? ktp::kDone : ktp::kWrongUse;
  }
  options.history = history_directory(history, options.history);
  options.who = login_name();
  ktp::set_history(options);
  for (const Verb& verb : ktp::verbs()) {
    if (app.got_subcommand(verb.name)) return verb.run(options);
  }
  return ktp::kWrongUse;
}

// The words for the completion of the shell.
bool print_words(int argc, char** argv) {
  if (argc != 2 || std::string_view(argv[1]) != "--verbs") return false;
  for (const Verb& verb : ktp::verbs()) std::printf("%s\n", verb.name);
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    if (print_words(argc, argv)) return ktp::kDone;
    ktp::Exit status = run(argc, argv);
    if (std::fflush(stdout) == 0) return status;
    std::fprintf(stderr, "ktp: standard output cannot be written\n");
    return ktp::kSaveFailed;
  } catch (const ktp::Failure& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return failure.status();
  } catch (const std::exception& fault) {
    std::fprintf(stderr, "ktp: %s\n", fault.what());
    return ktp::kSaveFailed;
  }
}
