// Who asks.
// SPDX-License-Identifier: MIT
#include "visit.h"

#include <algorithm>
#include <utility>

#include "cookies.h"
#include "device/phrases.h"
#include "platform/log.h"
#include "said.h"

namespace platen {
namespace {

constexpr const char* kSource = "visit.cpp";
constexpr std::string_view kLanguageCookie = "platen_language";
constexpr std::string_view kYear = "31536000";

void log_error(const std::string& text, int line = __builtin_LINE()) {
  Log_Entry(LOG_LEVEL_ERROR, kSource, line, "%s", text.c_str());
}

}  // namespace

std::string language_of(const Request& request) {
  const std::vector<std::string> installed = languages();
  for (const std::string_view chosen : cookies_named(request.cookie, kLanguageCookie)) {
    if (std::ranges::find(installed, chosen) != installed.end()) return std::string(chosen);
  }
  return best_language(request.language);
}

Visitors::Visitors(const std::string& database_file)
    : database(database_file),
      sessions(database),
      accounts(database, sessions),
      audit(database),
      handover(database),
      grants(database),
      throttle(database),
      uploads(database) {}

Visit::Visit(Visitors& visitors, const Request& request)
    : visitors_(visitors),
      cookie_(cookie_from(request.cookie)),
      visitor_(visitors.accounts.visitor(cookie_)),
      language_(language_of(request)),
      address_(request.address),
      secure_(request.secure) {}

void Visit::choose_language(const std::string& code) {
  language_ = code;
  speak(code);
  has_new_language_ = true;
}

std::string Visit::token(std::string_view page) {
  need_cookie();
  return visitors_.sessions.make_token(cookie_, page);
}

TokenCheck::Verdict Visit::check_token(std::string_view token) const {
  return visitors_.sessions.check_token(cookie_, token).verdict;
}

void Visit::log_in(const std::string& account) {
  visitors_.sessions.end(cookie_);
  replace_cookie(visitors_.sessions.start(account));
}

void Visit::log_out() {
  visitors_.sessions.end(cookie_);
  replace_cookie(new_cookie());
}

void Visit::open_session(const std::string& cookie) {
  if (has_session()) return;
  visitors_.sessions.start("", cookie);
  replace_cookie(cookie);
}

void Visit::need_cookie() {
  if (cookie_.empty()) replace_cookie(new_cookie());
}

void Visit::replace_cookie(std::string cookie) {
  cookie_ = std::move(cookie);
  visitor_ = visitors_.accounts.visitor(cookie_);
  has_new_cookie_ = true;
}

void Visit::announce(const std::string& action, const std::string& object) {
  visitors_.audit.announce({account().name, address_, action, object, ""});
}

void Visit::record(const std::string& login, const std::string& action, const std::string& object,
                   const std::string& outcome) {
  visitors_.audit.record_or_keep({login, address_, action, object, outcome});
}

bool Visit::leave(std::string_view name, std::string_view text) {
  need_cookie();
  try {
    return visitors_.handover.leave(cookie_, has_session() || has_ended(), name, text);
  } catch (const DatabaseError& error) {
    log_error(std::string("the next page will not say what was done: ") + error.what());
    return false;
  }
}

std::string Visit::take(std::string_view name) {
  return cookie_.empty() ? "" : visitors_.handover.take(cookie_, name);
}

void Visit::add_cookies(Response* response) const {
  if (has_new_cookie_) {
    response->headers.emplace_back("Set-Cookie", set_cookie_header(cookie_, secure_));
  }
  if (has_new_language_) {
    response->headers.emplace_back("Set-Cookie",
                                   std::string(kLanguageCookie) + "=" + language_ +
                                       "; Path=/; SameSite=Strict; Max-Age=" + std::string(kYear) +
                                       (secure_ ? "; Secure" : ""));
  }
}

}  // namespace platen
