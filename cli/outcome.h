// How a call of ktp ends.
// SPDX-License-Identifier: MIT
#ifndef CLI_OUTCOME_H_
#define CLI_OUTCOME_H_

#include <stdexcept>
#include <string>

namespace ktp {

// The exit statuses, as scripts know them.
enum Exit : int {
  kDone = 0,
  kDiffers = 1,  // or not found
  kWrongUse = 2,
  kBroken = 3,  // no template, or JSON that holds none
  kNotPermitted = 4,
  kSaveFailed = 5,
};

// Ends the call with a status and a line on standard error.
class Failure : public std::runtime_error {
 public:
  Failure(Exit status, const std::string& text) : std::runtime_error(text), status_(status) {}
  [[nodiscard]] Exit status() const { return status_; }

 private:
  Exit status_;
};

}  // namespace ktp

#endif  // CLI_OUTCOME_H_
