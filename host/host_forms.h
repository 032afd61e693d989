// The forms that the host carries out itself: login, logout, passwords, accounts, language, history.
// SPDX-License-Identifier: MIT
#ifndef HOST_HOST_FORMS_H_
#define HOST_HOST_FORMS_H_

#include "mailbox.h"
#include "parser_module.h"
#include "post.h"
#include "template_history.h"
#include "visit.h"

namespace platen {

// What the host's forms work on.
struct HostFormContext {
  const ParserModule& module;
  Accounts& accounts;
  Mailbox& mailbox;
  Visit& visit;
  const TemplateHistory& history;
};

// Carries out a form below /do/. Requires: one that policy knows and lets through.
Outcome run_host_form(const Post& post, const HostFormContext& context);

}  // namespace platen

#endif  // HOST_HOST_FORMS_H_
