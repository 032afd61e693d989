// Login sessions, their cookies, and the tokens that tie a form to the cookie it was made for.
// SPDX-License-Identifier: MIT
//
// Every visitor has a cookie of 256 random bits. Before a login it stands in no table; a login
// gives a new one, so a cookie that somebody planted is worth nothing. The database keeps a keyed
// hash of the cookie: who reads the file cannot take over a session. All functions may throw
// DatabaseError.
#ifndef HOST_SESSIONS_H_
#define HOST_SESSIONS_H_

#include <string>
#include <string_view>

#include "clock.h"
#include "device/database.h"
#include "secrets.h"

namespace platen {

// How long a session lasts, in seconds. The time of the last request is kept to a thirtieth of
// `idle`, so that not every page view writes to the disk.
struct SessionTimes {
  int64_t idle = 30 * kMinute;
  int64_t total = 12 * kHour;
};

enum class SessionState {
  anonymous,  // no login: no cookie, one before a login, or one not known
  active,
  ended,  // it was a login; it is told for a day after its end
};

struct Session {
  SessionState state = SessionState::anonymous;
  std::string account;  // empty unless active, and then when nobody is logged in
};

struct TokenCheck {
  enum class Verdict { right, missing, malformed, foreign };

  Verdict verdict = Verdict::missing;
  std::string page;  // path and query of the page that holds the form; empty unless right
};

class Sessions {
 public:
  // Requires `database` to outlive the object.
  explicit Sessions(Database& database, SessionTimes times = {}, Clock clock = system_time);

  // Begins a session for an account whose password was right, or for nobody (""), with a cookie of
  // its own, as made by new_cookie(); the caller ends the session of the cookie before it, if there
  // was one.
  void start(std::string_view account, std::string_view cookie);

  // The same with a new cookie, which is returned.
  std::string start(std::string_view account);

  // The session of a cookie as the browser sent it, and one more request for its idle time.
  Session look_up(std::string_view cookie);

  // Logs out; nothing happens when there is no such session.
  void end(std::string_view cookie);

  // Ends all sessions of an account but that of `kept_cookie`, which may be empty.
  void end_all(std::string_view account, std::string_view kept_cookie = "");

  // The token for a form on the page `page` (path and query) shown to the holder of `cookie`.
  // Needs no session: an anonymous cookie will do.
  std::string make_token(std::string_view cookie, std::string_view page) const;

  // Judges a posted token; an empty one is missing. A foreign one was made for another cookie or
  // page, or by another server.
  TokenCheck check_token(std::string_view cookie, std::string_view token) const;

 private:
  std::string key_of(std::string_view cookie) const;
  std::string sign(std::string_view cookie, std::string_view page) const;
  bool is_over(int64_t started, int64_t seen) const;

  Database& database_;
  SessionTimes times_;
  Clock clock_;
  SecretKey session_key_;
  SecretKey token_key_;
};

// The page that a token names, whoever made it: of use to show that page again, proof of nothing.
// Empty for a malformed token.
std::string claimed_page(std::string_view token);

// A cookie for a visitor who has none.
std::string new_cookie();

// The visitor's cookie among those of a Cookie header; empty when there is none of the right form.
std::string cookie_from(std::string_view cookie_header);

// The value of the Set-Cookie header that gives the browser its cookie. Requires a cookie made by
// new_cookie() or Sessions::start(). `secure`: the page was asked for over TLS.
std::string set_cookie_header(std::string_view cookie, bool secure);

// What to tell the user about a token that is not right, and what to do; empty for a right one.
std::string explain(TokenCheck::Verdict verdict);

}  // namespace platen

#endif  // HOST_SESSIONS_H_
