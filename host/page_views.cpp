// Who may see a page, and what its host tags show.
// SPDX-License-Identifier: MIT
#include "page_views.h"

#include "audit_view.h"
#include "clone_forms.h"
#include "error_page.h"
#include "next_page.h"
#include "policy.h"
#include "query.h"
#include "said.h"

namespace platen {
namespace {

constexpr std::string_view kLoginPage = "/login.html";
constexpr std::string_view kPasswordPage = "/password.html";
constexpr std::string_view kNextPage = "NextPage";
constexpr std::string_view kNotice = "notice";
constexpr Sentence kAsk("Go back, or ask an administrator.");
constexpr Sentence kNotKept(
    "You are not logged in, and what you typed is too long to be kept. Log in and type it again.");
constexpr Sentence kEnded("Your session has ended. Log in again.");

std::string kept_name(const std::string& address) { return "post " + address; }

std::string login_address(const std::string& next_page) {
  return page_address(kLoginPage, {{std::string(kNextPage), next_page}});
}

Json login_value(const Visit& visit, Format format) {
  const Account& account = visit.account();
  if (format != Format::json && format != Format::php) return account.name;
  if (account.name.empty()) return nullptr;
  return {{"name", account.name},
          {"role", role_name(account.role)},
          {"mustChange", account.must_change}};
}

Json text_or_null(const std::string& text, Format format) {
  return text.empty() && format != Format::php ? Json() : Json(valid_utf8(text));
}

Json parsed(const std::string& text) { return text.empty() ? Json() : Json::parse(text); }

void record(const Request& request, const std::string& reason, Visit* visit) {
  visit->record(visit->account().name, request.path, "", "refused: " + reason);
}

}  // namespace

Response redirection(const std::string& address) {
  Response response;
  response.status = 303;
  response.headers.emplace_back("Location", header_address(address));
  return response;
}

Response PageViews::show(const Request& request, Visit* visit) {
  if (auto refused = refuse_visitor(request, visit)) return *std::move(refused);
  Response response = view(request, nullptr, visit);
  if (response.status == 400) {
    const std::string fault = refuse_page_fields(request.path, request.query);
    record(request, fault.empty() ? "a field is missing" : fault, visit);
  }
  return response;
}

std::optional<Response> PageViews::refuse_visitor(const Request& request, Visit* visit) {
  if (visit->must_change() && request.path != kPasswordPage) {
    return redirection(std::string(kPasswordPage));
  }
  if (visit->role() >= page_role(request.path)) return std::nullopt;
  if (visit->role() == Role::anonymous) {
    return redirection(login_address(page_address(request.path, request.query)));
  }
  record(request, "only for administrators", visit);
  return error_response(403, said("This page is for administrators only."), said(kAsk));
}

Response PageViews::show_again(const std::string& address, const Refused& refused, Visit* visit) {
  Request request;
  std::string fault;
  if (!decode_target(address, &request.path, &request.query, &fault)) {
    return error_response(refused.status, refused.reason, said(kAsk));
  }
  if (visit->must_change() && request.path != kPasswordPage) {
    visit->leave(kNotice, refused.reason);
    keep(address, json_text(refused.posted), visit);
    return redirection(std::string(kPasswordPage));
  }
  if (visit->role() < page_role(request.path)) return show_login(address, refused, visit);
  return view(std::move(request), &refused, visit);
}

Response PageViews::show_login(const std::string& address, Refused refused, Visit* visit) {
  if (!keep(address, json_text(refused.posted), visit)) refused.reason = said(kNotKept);
  Request request;
  request.path = kLoginPage;
  request.query = {{std::string(kNextPage), address}};
  return view(std::move(request), &refused, visit);
}

std::string PageViews::take_kept(const std::string& address, Visit* visit) {
  return visit->take(kept_name(address));
}

bool PageViews::keep(const std::string& address, const std::string& posted, Visit* visit) {
  return visit->leave(kept_name(address), posted);
}

Response PageViews::view(Request request, const Refused* refused, Visit* visit) {
  if (auto refusal = mailbox_.refuse_page(request, *visit)) return *std::move(refusal);
  request.language = visit->language();
  bool told = false;
  Response response = site_.serve(request, [&](const PageTag& tag) {
    told = told || tag.kind == TagKind::reason;
    return value_of(tag, request, refused, visit);
  });
  if (refused == nullptr) return response;
  if (!told) return error_response(refused->status, refused->reason, said(kAsk));
  response.status = refused->status;
  return response;
}

Json PageViews::value_of(const PageTag& tag, const Request& request, const Refused* refused,
                         Visit* visit) const {
  const std::string address = page_address(request.path, request.query);
  // What is told once must not be lost to a request whose answer nobody sees.
  const bool is_shown = request.method != "HEAD";
  switch (tag.kind) {
    case TagKind::reason:
      if (refused != nullptr) return valid_utf8(refused->reason);
      if (request.path == kLoginPage && visit->has_ended()) return said(kEnded);
      return visit->role() == Role::administrator ? Json(true) : Json();
    case TagKind::token:
      return visit->token(address);
    case TagKind::login:
      return login_value(*visit, tag.format);
    case TagKind::posted:
      if (refused != nullptr) return refused->posted;
      return is_shown ? parsed(take_kept(address, visit)) : Json();
    case TagKind::notice:
      return text_or_null(is_shown ? visit->take(kNotice) : "", tag.format);
    case TagKind::audit:
      if (visit->role() != Role::administrator) return nullptr;
      return audit_page(visitors_.audit, audit_query(request.query));
    case TagKind::status:
      return visit->role() == Role::administrator ? status_json(status_) : Json();
    case TagKind::page:
      return valid_utf8(request.path);
    case TagKind::accounts:
      return accounts(*visit);
    case TagKind::jobs:
      return mailbox_.jobs(request.query, *visit);
    case TagKind::mailbox:
      return mailbox_.settings(*visit);
    case TagKind::session:
      return mailbox_.session(*visit);
    case TagKind::difference:
      return visit->role() == Role::anonymous ? Json() : history_.difference(request.query);
    case TagKind::factory:
      return visit->role() == Role::administrator ? history_.factory() : Json();
    case TagKind::versions:
      return visit->role() == Role::anonymous ? Json() : history_.list(request.query);
    case TagKind::deleted:
      return visit->role() == Role::anonymous ? Json()
                                              : history_.deleted(request.query, visit->role());
    case TagKind::clone:
      return clone_menu_json({status_.module, visitors_, *visit});
    case TagKind::upload:
      return clone_summary_json({status_.module, visitors_, *visit}, request.query);
    default:
      return nullptr;
  }
}

Json PageViews::accounts(const Visit& visit) const {
  if (visit.role() != Role::administrator) return nullptr;
  Json list = Json::array();
  for (const Account& account : visitors_.accounts.list()) {
    list.push_back({{"name", account.name},
                    {"role", role_name(account.role)},
                    {"disabled", account.disabled},
                    {"mustChange", account.must_change}});
  }
  return list;
}

}  // namespace platen
