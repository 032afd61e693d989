// Brings the mailbox's templates in line with its settings, folders and PINs.
// SPDX-License-Identifier: MIT
#ifndef HOST_MAILBOX_UPKEEP_H_
#define HOST_MAILBOX_UPKEEP_H_

#include <string>

#include "parser_module.h"

namespace platen {

// The mailbox functions tell by lines in the log alone that something was not done; keeps the last
// of them that is logged while it lives. One at a time.
class MailboxWarning {
 public:
  MailboxWarning();
  ~MailboxWarning();
  MailboxWarning(const MailboxWarning&) = delete;
  MailboxWarning& operator=(const MailboxWarning&) = delete;

  // What to tell the user; "" when there was none.
  const std::string& text() const { return text_; }

 private:
  std::string text_;
};

// Notes that the templates are out of line, before what brings them out of it is stored: a process
// that is killed on the way leaves the note to the next. False when it cannot be stored.
bool begin_upkeep();

// What an upkeep has done.
struct UpkeepResult {
  std::string summary;  // one line per template, and one that tells whether a reload was asked for
  std::string failure;  // what was not done; "" = nothing
};

// Runs the upkeep, one process at a time: the holder of the lock that goes with `state_file`.
UpkeepResult run_upkeep(const ParserModule& module, const std::string& state_file);

// Runs the upkeep that another process has begun and not ended, if there is one.
void resume_upkeep(const ParserModule& module, const std::string& state_file);

}  // namespace platen

#endif  // HOST_MAILBOX_UPKEEP_H_
