// Tests of sessions, cookies and form tokens.
// SPDX-License-Identifier: MIT
#include "sessions.h"

#include <gtest/gtest.h>

#include "../device/temporary_directory.h"
#include "fake_clock.h"

namespace platen {
namespace {

using Verdict = TokenCheck::Verdict;

constexpr char kPage[] = "/template.html?ParserFilename=/a b&x=1:2";

class SessionsTest : public testing::Test {
 protected:
  SessionState state(const std::string& cookie) { return sessions_.look_up(cookie).state; }

  TemporaryDirectory directory_;
  Database database_{directory_.file("d")};
  FakeClock time_;
  Sessions sessions_{database_, SessionTimes{}, time_.clock()};
};

TEST_F(SessionsTest, KnowsTheAccountOfACookie) {
  const std::string cookie = sessions_.start("erika");
  const Session session = sessions_.look_up(cookie);
  EXPECT_EQ(session.state, SessionState::active);
  EXPECT_EQ(session.account, "erika");
}

TEST_F(SessionsTest, TakesUnknownCookiesForVisitors) {
  sessions_.start("erika");
  EXPECT_EQ(state(""), SessionState::anonymous);
  EXPECT_EQ(state(new_cookie()), SessionState::anonymous);
  EXPECT_EQ(state("' OR 1=1 --"), SessionState::anonymous);
}

TEST_F(SessionsTest, GivesEveryLoginACookieOfItsOwn) {
  EXPECT_NE(sessions_.start("erika"), sessions_.start("erika"));
}

TEST_F(SessionsTest, KeepsNoCookieInTheDatabase) {
  const std::string cookie = sessions_.start("erika");
  Statement row = database_.prepare("SELECT key FROM session");
  ASSERT_TRUE(row.step());
  EXPECT_EQ(row.text(0).size(), 64U);
  EXPECT_EQ(state(row.text(0).substr(0, 43)), SessionState::anonymous);
  EXPECT_EQ(row.text(0).find(cookie), std::string::npos);
}

TEST_F(SessionsTest, EndsAfterTheIdleTime) {
  const std::string cookie = sessions_.start("erika");
  time_.now += 30 * kMinute - 1;
  EXPECT_EQ(state(cookie), SessionState::active);
  time_.now += 30 * kMinute - 1;
  EXPECT_EQ(state(cookie), SessionState::active);
  time_.now += 30 * kMinute;
  EXPECT_EQ(state(cookie), SessionState::ended);
}

TEST_F(SessionsTest, EndsAfterTheTotalTimeHoweverBusy) {
  const std::string cookie = sessions_.start("erika");
  for (int minute = 0; minute < 12 * 60; minute += 10, time_.now += 600) {
    EXPECT_EQ(state(cookie), SessionState::active) << minute;
  }
  EXPECT_EQ(state(cookie), SessionState::ended);
}

TEST_F(SessionsTest, WritesTheLastRequestInSteps) {
  const std::string cookie = sessions_.start("erika");
  const auto seen = [this] {
    Statement row = database_.prepare("SELECT seen FROM session");
    row.step();
    return row.integer(0);
  };
  const int64_t start = time_.now;
  time_.now = start + 59;
  sessions_.look_up(cookie);
  EXPECT_EQ(seen(), start);
  time_.now = start + 60;
  sessions_.look_up(cookie);
  EXPECT_EQ(seen(), start + 60);
}

TEST_F(SessionsTest, SurvivesASmallCorrectionOfTheClockOnly) {
  const std::string cookie = sessions_.start("erika");
  time_.now -= 5;
  EXPECT_EQ(state(cookie), SessionState::active);
  time_.now -= kDay;
  EXPECT_EQ(state(cookie), SessionState::ended);
}

TEST_F(SessionsTest, EndsOneOrAllOrAllButOne) {
  const std::string first = sessions_.start("erika");
  const std::string second = sessions_.start("erika");
  const std::string third = sessions_.start("erika");
  const std::string other = sessions_.start("max");
  sessions_.end(first);
  EXPECT_EQ(state(first), SessionState::ended);
  EXPECT_EQ(state(second), SessionState::active);
  sessions_.end_all("erika", third);
  EXPECT_EQ(state(second), SessionState::ended);
  EXPECT_EQ(state(third), SessionState::active);
  sessions_.end_all("erika");
  EXPECT_EQ(state(third), SessionState::ended);
  EXPECT_EQ(state(other), SessionState::active);
}

TEST_F(SessionsTest, TellsAnEndForADayAndThenForgets) {
  const std::string cookie = sessions_.start("erika");
  time_.now += kDay + 12 * kHour;
  sessions_.start("max");
  EXPECT_EQ(state(cookie), SessionState::ended);
  time_.now += 1;
  sessions_.start("max");
  EXPECT_EQ(state(cookie), SessionState::anonymous);
}

TEST_F(SessionsTest, LastsBeyondARestart) {
  const std::string cookie = sessions_.start("erika");
  const std::string token = sessions_.make_token(cookie, kPage);
  Database reopened(directory_.file("d"));
  Sessions restarted(reopened, SessionTimes{}, time_.clock());
  EXPECT_EQ(restarted.look_up(cookie).account, "erika");
  EXPECT_EQ(restarted.check_token(cookie, token).verdict, Verdict::right);
}

TEST_F(SessionsTest, SignsThePageIntoTheToken) {
  const std::string cookie = new_cookie();
  const TokenCheck check = sessions_.check_token(cookie, sessions_.make_token(cookie, kPage));
  EXPECT_EQ(check.verdict, Verdict::right);
  EXPECT_EQ(check.page, kPage);
}

TEST_F(SessionsTest, RefusesEveryOtherToken) {
  const std::string cookie = new_cookie();
  const std::string token = sessions_.make_token(cookie, "/a.html");
  std::string changed = token;
  changed[0] = changed[0] == '0' ? '1' : '0';
  Database other_database(directory_.file("other"));
  const std::string other_server = Sessions(other_database).make_token(cookie, "/a.html");
  struct Row {
    const char* name;
    std::string cookie;
    std::string token;
    Verdict verdict;
  };
  const Row rows[] = {
      {"missing", cookie, "", Verdict::missing},
      {"no signature", cookie, "/a.html", Verdict::malformed},
      {"signature alone", cookie, token.substr(0, 64), Verdict::malformed},
      {"signature cut", cookie, token.substr(1), Verdict::malformed},
      {"another cookie", new_cookie(), token, Verdict::foreign},
      {"no cookie", "", token, Verdict::foreign},
      {"part of the cookie moved into the page", cookie.substr(0, 42),
       token.substr(0, 65) + cookie.substr(42) + "/a.html", Verdict::foreign},
      {"another page", cookie, token + "x", Verdict::foreign},
      {"no page", cookie, token.substr(0, 65), Verdict::foreign},
      {"another signature", cookie, changed, Verdict::foreign},
      {"another server", cookie, other_server, Verdict::foreign},
  };
  for (const Row& row : rows) {
    const TokenCheck check = sessions_.check_token(row.cookie, row.token);
    EXPECT_EQ(check.verdict, row.verdict) << row.name;
    EXPECT_EQ(check.page, "") << row.name;
  }
}

TEST(Token, IsExplained) {
  EXPECT_EQ(explain(Verdict::right), "");
  EXPECT_EQ(explain(Verdict::missing),
            "The form came without its token; open its page again and send it from there.");
  EXPECT_EQ(explain(Verdict::malformed),
            "The form's token is damaged; open its page again and send it from there.");
  EXPECT_EQ(
      explain(Verdict::foreign),
      "The form was made for another session, perhaps before a login or logout; open its page "
      "again and send it from there.");
}

TEST(Cookie, IsFoundAmongOthers) {
  const std::string cookie = new_cookie();
  const std::string own = "platen_session=" + cookie;
  const std::string empty;
  struct Row {
    std::string header;
    const std::string& found;
  };
  const Row rows[] = {
      {own, cookie},
      {"a=1; " + own + "; b=2", cookie},
      {"a=1;" + own, cookie},
      {"platen_session=short; " + own, cookie},
      {own + "; platen_session=" + new_cookie(), cookie},
      {"", empty},
      {"platen_session", empty},
      {"platen_session=", empty},
      {"x" + own, empty},
      {own + "x", empty},
      {"platen_session=" + std::string(43, '!'), empty},
      {";;=; ;", empty},
  };
  for (const Row& row : rows) EXPECT_EQ(cookie_from(row.header), row.found) << row.header;
}

TEST(Cookie, IsKeptFromScriptsAndOtherSites) {
  EXPECT_EQ(set_cookie_header("abc", false),
            "platen_session=abc; Path=/; HttpOnly; SameSite=Strict");
  EXPECT_EQ(set_cookie_header("abc", true),
            "platen_session=abc; Path=/; HttpOnly; SameSite=Strict; Secure");
}

}  // namespace
}  // namespace platen
