// Answers posted forms: every check in its order, then the form itself.
// SPDX-License-Identifier: MIT
#ifndef HOST_POSTS_H_
#define HOST_POSTS_H_

#include "http_message.h"
#include "mailbox.h"
#include "page_views.h"
#include "parser_module.h"
#include "policy.h"
#include "visit.h"

namespace platen {

class PostRun;
struct Outcome;

class Posts {
 public:
  // Requires all five to outlive the object.
  Posts(const ParserModule& module, Visitors& visitors, Mailbox& mailbox,
        const TemplateHistory& history, PageViews& views)
      : module_(module), visitors_(visitors), mailbox_(mailbox), history_(history), views_(views) {}

  // Answers a post of the form. Whatever its end, it leaves one entry in the audit trail: a form
  // that was carried out sends the browser on, one that was not shows its page again with the
  // reason and what was typed, unless it cannot be known where it came from.
  Response answer(const FormRule& form, const Request& request, Visit* visit);

 private:
  Response respond(const PostRun& run, const Outcome& outcome, Visit* visit);

  const ParserModule& module_;
  Visitors& visitors_;
  Mailbox& mailbox_;
  const TemplateHistory& history_;
  PageViews& views_;
};

}  // namespace platen

#endif  // HOST_POSTS_H_
