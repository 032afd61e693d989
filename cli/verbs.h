// The verbs of ktp: one table, from which the command line, its help and its completion are made.
// SPDX-License-Identifier: MIT
#ifndef CLI_VERBS_H_
#define CLI_VERBS_H_

#include <span>
#include <string>
#include <vector>

#include "outcome.h"

namespace ktp {

struct Options {
  std::vector<std::string> operands;
  std::string history;  // directory that keeps what changes replace, empty for none
  std::string who;      // makes the changes
  std::string type;
  std::string creator;
  std::string service;
  std::string factory;
  std::string version;
  bool json = false;
  bool force = false;
  bool compulsory = false;
  bool optional = false;
};

// Which options a verb takes.
enum Takes : unsigned {
  kJson = 1,
  kForce = 2,
  kType = 4,
  kFilters = 8,
  kFactory = 16,
  kVersion = 32,
};

struct Verb {
  const char* name;
  const char* operands;  // as the help shows them
  int least;             // operands that are needed
  int most;              // operands that are taken
  unsigned takes;
  const char* help;
  Exit (*run)(const Options& options);
};

std::span<const Verb> verbs();

// Has the store keep from now on what changes replace, as the options say.
void set_history(const Options& options);

// The reading verbs print on standard output and change nothing. All verbs throw Failure.
Exit show(const Options& options);
Exit get(const Options& options);
Exit list(const Options& options);
Exit check(const Options& options);
Exit diff(const Options& options);
Exit export_json(const Options& options);
Exit show_history(const Options& options);
Exit explain(const Options& options);

// The editing verbs save once, after all their edits, and only if each of them can be made.
Exit set_values(const Options& options);
Exit add_values(const Options& options);
Exit remove_values(const Options& options);
Exit make_new(const Options& options);
Exit delete_things(const Options& options);
Exit copy(const Options& options);
Exit restore(const Options& options);
Exit import_json(const Options& options);
Exit undo(const Options& options);

}  // namespace ktp

#endif  // CLI_VERBS_H_
