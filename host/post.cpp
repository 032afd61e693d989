// Outcomes that several forms share.
// SPDX-License-Identifier: MIT
#include "post.h"

#include "said.h"

namespace platen {
namespace {

std::string explain(int64_t seconds) {
  if (seconds == 1) return said("There were too many failed tries. Try again in 1 second.");
  if (seconds < 120) {
    return said("There were too many failed tries. Try again in {1} seconds.", seconds);
  }
  return said("There were too many failed tries. Try again in {1} minutes.", (seconds + 59) / 60);
}

}  // namespace

Outcome too_many_tries(int64_t seconds) {
  Outcome outcome = refusal(429, explain(seconds));
  outcome.headers.emplace_back("Retry-After", std::to_string(seconds));
  return outcome;
}

}  // namespace platen
