// The forms of the mailbox: PINs and job passwords, jobs, folders and settings.
// SPDX-License-Identifier: MIT
#ifndef HOST_MAILBOX_FORMS_H_
#define HOST_MAILBOX_FORMS_H_

#include <optional>
#include <string>

#include "mailbox.h"
#include "parser_module.h"
#include "post.h"
#include "visit.h"

namespace platen {

// What the mailbox's forms work on.
struct MailboxFormContext {
  const ParserModule& module;
  Mailbox& mailbox;
  Visitors& visitors;
  Visit& visit;
};

// Brings the mailbox's templates in line after a form that is done: what the user is told ends in
// what has changed. Where that fails, the form is not done, status 500. Requires: the form has begun
// the upkeep.
Outcome with_upkeep(Outcome done, const ParserModule& module, const std::string& state_file);

// Status 500, where the settings cannot be written.
Outcome not_stored();

// Carries out a form that policy has let through; nothing when it is none of the mailbox's.
std::optional<Outcome> run_mailbox_form(const Post& post, const MailboxFormContext& context);

}  // namespace platen

#endif  // HOST_MAILBOX_FORMS_H_
