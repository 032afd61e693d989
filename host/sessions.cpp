// Login sessions, their cookies, and the tokens that tie a form to the cookie it was made for.
// SPDX-License-Identifier: MIT
#include "sessions.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "ascii.h"
#include "cookies.h"
#include "said.h"

namespace platen {
namespace {

constexpr std::string_view kCookieName = "platen_session";
constexpr size_t kCookieLength = 43;
constexpr size_t kSignatureLength = 64;
constexpr int64_t kToldAfterEnd = kDay;
constexpr int64_t kSeenSteps = 30;

constexpr char kSchema[] =
    "CREATE TABLE IF NOT EXISTS session ("
    "key TEXT PRIMARY KEY, account TEXT NOT NULL, started INTEGER NOT NULL,"
    " seen INTEGER NOT NULL, ended INTEGER NOT NULL DEFAULT 0) WITHOUT ROWID";

bool is_cookie(std::string_view text) {
  return text.size() == kCookieLength && std::all_of(text.begin(), text.end(), [](char c) {
           return is_letter_or_digit(c) || c == '-' || c == '_';
         });
}

}  // namespace

Sessions::Sessions(Database& database, SessionTimes times, Clock clock)
    : database_(database),
      times_(times),
      clock_(std::move(clock)),
      session_key_(database, "sessions"),
      token_key_(database, "formtokn") {
  database_.make(kSchema);
}

std::string Sessions::key_of(std::string_view cookie) const { return session_key_.hash(cookie); }

// A clock that was set back by much ends the sessions: how old they are is unknown then.
bool Sessions::is_over(int64_t started, int64_t seen) const {
  const int64_t now = clock_();
  return std::abs(now - started) >= times_.total || std::abs(now - seen) >= times_.idle;
}

std::string Sessions::start(std::string_view account) {
  std::string cookie = new_cookie();
  start(account, cookie);
  return cookie;
}

void Sessions::start(std::string_view account, std::string_view cookie) {
  const int64_t now = clock_();
  Transaction transaction(database_);
  database_.run("DELETE FROM session WHERE abs(?1 - seen) > ?2", now, times_.total + kToldAfterEnd);
  database_.run("INSERT INTO session (key, account, started, seen) VALUES (?1, ?2, ?3, ?3)",
                key_of(cookie), account, now);
  transaction.commit();
}

Session Sessions::look_up(std::string_view cookie) {
  if (!is_cookie(cookie)) return {};
  const std::string key = key_of(cookie);
  Session session;
  int64_t seen = 0;
  {
    Statement found =
        database_.prepare("SELECT account, started, seen, ended FROM session WHERE key = ?1", key);
    if (!found.step()) return {};
    seen = found.integer(2);
    if (found.integer(3) != 0 || is_over(found.integer(1), seen)) return {SessionState::ended, ""};
    session = {SessionState::active, found.text(0)};
  }
  const int64_t now = clock_();
  if (std::abs(now - seen) >= times_.idle / kSeenSteps) {
    database_.run("UPDATE session SET seen = ?2 WHERE key = ?1", key, now);
  }
  return session;
}

void Sessions::end(std::string_view cookie) {
  database_.run("UPDATE session SET ended = 1 WHERE key = ?1", key_of(cookie));
}

void Sessions::end_all(std::string_view account, std::string_view kept_cookie) {
  database_.run("UPDATE session SET ended = 1 WHERE account = ?1 AND key <> ?2", account,
                key_of(kept_cookie));
}

// The cookie has a fixed length, so no other pair of cookie and page gives the same text.
std::string Sessions::sign(std::string_view cookie, std::string_view page) const {
  return token_key_.hash(std::string(cookie).append(page));
}

std::string Sessions::make_token(std::string_view cookie, std::string_view page) const {
  return sign(cookie, page).append(":").append(page);
}

TokenCheck Sessions::check_token(std::string_view cookie, std::string_view token) const {
  using Verdict = TokenCheck::Verdict;
  if (token.empty()) return {Verdict::missing, ""};
  if (token.size() <= kSignatureLength || token[kSignatureLength] != ':') {
    return {Verdict::malformed, ""};
  }
  const std::string_view page = token.substr(kSignatureLength + 1);
  if (!is_cookie(cookie) ||
      !is_same_secret(token.substr(0, kSignatureLength), sign(cookie, page))) {
    return {Verdict::foreign, ""};
  }
  return {Verdict::right, std::string(page)};
}

std::string claimed_page(std::string_view token) {
  if (token.size() <= kSignatureLength || token[kSignatureLength] != ':') return "";
  return std::string(token.substr(kSignatureLength + 1));
}

std::string new_cookie() { return random_token(); }

std::string cookie_from(std::string_view cookie_header) {
  const auto values = cookies_named(cookie_header, kCookieName);
  const auto found = std::find_if(values.begin(), values.end(), is_cookie);
  return found == values.end() ? "" : std::string(*found);
}

std::string set_cookie_header(std::string_view cookie, bool secure) {
  return std::string(kCookieName) + "=" + std::string(cookie) +
         "; Path=/; HttpOnly; SameSite=Strict" + (secure ? "; Secure" : "");
}

std::string explain(TokenCheck::Verdict verdict) {
  switch (verdict) {
    case TokenCheck::Verdict::right:
      return "";
    case TokenCheck::Verdict::missing:
      return said("The form came without its token; open its page again and send it from there.");
    case TokenCheck::Verdict::malformed:
      return said("The form's token is damaged; open its page again and send it from there.");
    case TokenCheck::Verdict::foreign:
      return said(
          "The form was made for another session, perhaps before a login or logout; open its page "
          "again and send it from there.");
  }
  return "";
}

}  // namespace platen
