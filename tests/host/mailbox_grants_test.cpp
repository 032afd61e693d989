// Tests of what a session may do for having given a job's password.
// SPDX-License-Identifier: MIT
#include "mailbox_grants.h"

#include <gtest/gtest.h>

#include "../device/temporary_directory.h"
#include "fake_clock.h"
#include "sessions.h"

namespace platen {
namespace {

const JobAction kJob = {"anna", "job7.d", "scan.pdf", "dnl"};

class MailboxGrantsTest : public testing::Test {
 protected:
  TemporaryDirectory directory_;
  Database database_{directory_.file("d")};
  FakeClock time_;
  MailboxGrants grants_{database_, time_.clock()};
};

TEST_F(MailboxGrantsTest, DerivesAnIdThatIsNoCookie) {
  const std::string cookie = new_cookie();
  EXPECT_EQ(grants_.sid(cookie), grants_.sid(cookie));
  EXPECT_NE(grants_.sid(cookie), grants_.sid(new_cookie()));
  EXPECT_EQ(cookie_from("platen_session=" + grants_.sid(cookie)), "");
  Sessions sessions(database_);
  sessions.start("", cookie);
  EXPECT_EQ(sessions.look_up(grants_.sid(cookie)).state, SessionState::anonymous);
}

TEST_F(MailboxGrantsTest, AreForOneSessionAndOneAction) {
  grants_.grant("s", kJob);
  EXPECT_TRUE(grants_.has("s", kJob));
  EXPECT_FALSE(grants_.has("t", kJob));
  const JobAction others[] = {{"bert", kJob.subf, kJob.file, kJob.action},
                              {kJob.folder, "", kJob.file, kJob.action},
                              {kJob.folder, kJob.subf, "other.pdf", kJob.action},
                              {kJob.folder, kJob.subf, kJob.file, "del"}};
  for (const JobAction& other : others) {
    EXPECT_FALSE(grants_.has("s", other));
    EXPECT_FALSE(grants_.use("s", other));
  }
}

TEST_F(MailboxGrantsTest, AreUsedOnce) {
  grants_.grant("s", kJob);
  EXPECT_TRUE(grants_.use("s", kJob));
  EXPECT_FALSE(grants_.use("s", kJob));
  EXPECT_FALSE(grants_.has("s", kJob));
}

TEST_F(MailboxGrantsTest, LastTenMinutes) {
  grants_.grant("s", kJob);
  time_.now += 10 * kMinute - 1;
  EXPECT_TRUE(grants_.has("s", kJob));
  time_.now += 1;
  EXPECT_FALSE(grants_.has("s", kJob));
  EXPECT_FALSE(grants_.use("s", kJob));
}

TEST_F(MailboxGrantsTest, GoWithTheFolderOrTheSession) {
  const JobAction other = {"bert", "", "a.pdf", "dnl"};
  for (const char* sid : {"s", "t"}) {
    grants_.grant(sid, kJob);
    grants_.grant(sid, other);
  }
  grants_.forget_folder("anna");
  EXPECT_FALSE(grants_.has("s", kJob));
  EXPECT_FALSE(grants_.has("t", kJob));
  grants_.forget_session("s");
  EXPECT_FALSE(grants_.has("s", other));
  EXPECT_TRUE(grants_.has("t", other));
}

}  // namespace
}  // namespace platen
