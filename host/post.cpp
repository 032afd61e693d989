// Outcomes that several forms share.
// SPDX-License-Identifier: MIT
#include "post.h"

namespace platen {
namespace {

std::string duration_text(int64_t seconds) {
  if (seconds < 120) return std::to_string(seconds) + (seconds == 1 ? " second" : " seconds");
  return std::to_string((seconds + 59) / 60) + " minutes";
}

}  // namespace

Outcome too_many_tries(int64_t seconds) {
  Outcome outcome = refusal(
      429, "There were too many failed tries. Try again in " + duration_text(seconds) + ".");
  outcome.headers.emplace_back("Retry-After", std::to_string(seconds));
  return outcome;
}

}  // namespace platen
