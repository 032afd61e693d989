// A bounded list of lines, guarded for the threads of the process.
// SPDX-License-Identifier: MIT
#include "template_failures.h"

#include <cstring>
#include <list>
#include <mutex>
#include <utility>

namespace store {
namespace {

struct Failures {
  std::mutex guard;
  std::list<std::string> lines;
  std::size_t lost = 0;
};

Failures& failures() {
  static Failures all;
  return all;
}

std::string joined(const Failures& all) {
  std::string text;
  for (const std::string& line : all.lines) text.append(line).append("\n");
  if (all.lost > 0) {
    text += "and " + std::to_string(all.lost) + " further failures that are not listed\n";
  }
  return text;
}

}  // namespace

void note_failure(std::string&& line) {
  std::lock_guard<std::mutex> hold(failures().guard);
  if (failures().lines.size() == kMostFailures) {
    ++failures().lost;
    return;
  }
  try {
    failures().lines.push_back(std::move(line));
  } catch (...) {
    ++failures().lost;
  }
}

void note_lost_failure() {
  std::lock_guard<std::mutex> hold(failures().guard);
  ++failures().lost;
}

char* take_failures() {
  std::lock_guard<std::mutex> hold(failures().guard);
  std::string text = joined(failures());
  char* copy = text.empty() ? nullptr : ::strdup(text.c_str());
  if (!copy) return nullptr;
  failures().lines.clear();
  failures().lost = 0;
  return copy;
}

}  // namespace store
