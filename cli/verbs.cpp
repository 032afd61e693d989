// The table of verbs.
// SPDX-License-Identifier: MIT
#include "verbs.h"

#include "templateWrapper.h"

namespace ktp {
namespace {

constexpr int kAny = 1 << 20;
constexpr int kVersionsKept = 20;

constexpr Verb kVerbs[] = {
    {"show", "FILE", 1, 1, kJson, "print every attribute with its address", show},
    {"get", "FILE ADDRESS", 2, 2, kJson, "print the values of an attribute, one a line", get},
    {"set", "FILE ADDRESS=VALUE...", 2, kAny, kForce | kType, "replace the values of attributes",
     set_values},
    {"add", "FILE ADDRESS=VALUE...", 2, kAny, kForce, "add values to lists", add_values},
    {"remove", "FILE ADDRESS=VALUE...", 2, kAny, kForce, "remove values from lists", remove_values},
    {"new", "FILE ADDRESS...", 2, kAny, kForce | kType,
     "add an invocation to a service, and print its address, or an attribute without values",
     make_new},
    {"delete", "FILE ADDRESS...", 2, kAny, kForce, "delete services, invocations or attributes",
     delete_things},
    {"list", "DIR", 1, 1, kJson | kFilters, "print the templates of a directory", list},
    {"check", "FILE|DIR...", 1, kAny, kJson, "tell which templates cannot be read, and why", check},
    {"diff", "A B", 2, 2, kJson, "print what two templates hold differently", diff},
    {"copy", "FROM TO", 2, 2, kForce, "copy a template and give it the name of its file", copy},
    {"restore", "FILE", 1, 1, kForce | kFactory, "bring back the factory template of that name",
     restore},
    {"export", "FILE", 1, 1, 0, "print a template as JSON", export_json},
    {"import", "FILE [JSON]", 1, 2, kForce, "make a template from JSON", import_json},
    {"history", "FILE", 1, 1, kJson, "print what is kept of a template from before its changes",
     show_history},
    {"undo", "FILE", 1, 1, kForce | kVersion, "bring back what was there before the last change",
     undo},
    {"explain", "FILE ADDRESS", 2, 2, kJson,
     "tell which line gives a value, what it is, and who asks for it", explain},
};

}  // namespace

std::span<const Verb> verbs() { return kVerbs; }

void set_history(const Options& options) {
  jt_history(options.history.c_str(), kVersionsKept, options.who.c_str());
}

}  // namespace ktp
