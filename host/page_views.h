// Shows pages to visitors: as they ask for them, and again when a form was refused.
// SPDX-License-Identifier: MIT
#ifndef HOST_PAGE_VIEWS_H_
#define HOST_PAGE_VIEWS_H_

#include <optional>
#include <string>
#include <utility>

#include "http_message.h"
#include "mailbox.h"
#include "output_format.h"
#include "site.h"
#include "status.h"
#include "template_history.h"
#include "visit.h"

namespace platen {

// Why a page is shown instead of what was asked for, and what had been typed.
struct Refused {
  int status;
  std::string reason;
  Json posted;
};

// The response that sends the browser on to an address of this server.
Response redirection(const std::string& address);

class PageViews {
 public:
  // Requires all that is referred to to outlive the object.
  PageViews(Site& site, Visitors& visitors, const Mailbox& mailbox, const TemplateHistory& history,
            StatusSources status)
      : site_(site),
        visitors_(visitors),
        mailbox_(mailbox),
        history_(history),
        status_(std::move(status)) {}

  // Answers a request for a page. Who may not see it is sent to the login, or told so.
  Response show(const Request& request, Visit* visit);

  // Sends who may not have the page or download to the login, or tells them so; nothing for who may.
  static std::optional<Response> refuse_visitor(const Request& request, Visit* visit);

  // Shows the page at `address` again after its form was refused, with the status of the refusal.
  // A page that has no place for the reason gives way to a plain one. Who has a password to choose
  // is sent there; what was typed is kept, as for a login.
  Response show_again(const std::string& address, const Refused& refused, Visit* visit);

  // Shows the login instead of a page that needs one. What was typed is kept for the visitor, and
  // shown in the page at `address` after the login; when it cannot be kept the reason says so.
  Response show_login(const std::string& address, Refused refused, Visit* visit);

  // What was kept of a post for the page at `address`, as JSON; "" when nothing was. It is taken
  // out, and kept again under the new cookie when the visitor logs in. keep() returns whether it is.
  static std::string take_kept(const std::string& address, Visit* visit);
  static bool keep(const std::string& address, const std::string& posted, Visit* visit);

 private:
  Response view(Request request, const Refused* refused, Visit* visit);
  Json value_of(const PageTag& tag, const Request& request, const Refused* refused,
                Visit* visit) const;
  Json accounts(const Visit& visit) const;

  Site& site_;
  Visitors& visitors_;
  const Mailbox& mailbox_;
  const TemplateHistory& history_;
  StatusSources status_;
};

}  // namespace platen

#endif  // HOST_PAGE_VIEWS_H_
