// Tests of what answers leave for later pages.
// SPDX-License-Identifier: MIT
#include "handover.h"

#include <gtest/gtest.h>

#include "../device/temporary_directory.h"
#include "fake_clock.h"

namespace platen {
namespace {

class HandoverTest : public testing::Test {
 protected:
  int64_t rows() {
    Statement count = database_.prepare("SELECT count(*) FROM left_text");
    count.step();
    return count.integer(0);
  }

  TemporaryDirectory directory_;
  Database database_{directory_.file("d")};
  FakeClock time_;
  Handover handover_{database_, time_.clock()};
};

TEST_F(HandoverTest, GivesATextOnceToItsCookieAndName) {
  handover_.leave("cookie", true, "notice", std::string("a\0b", 3));
  EXPECT_EQ(handover_.take("other", "notice"), "");
  EXPECT_EQ(handover_.take("cookie", "post"), "");
  EXPECT_EQ(handover_.take("cookie", "notice"), std::string("a\0b", 3));
  EXPECT_EQ(handover_.take("cookie", "notice"), "");
}

TEST_F(HandoverTest, ReplacesWhatWasLeftBefore) {
  handover_.leave("cookie", true, "notice", "first");
  handover_.leave("cookie", true, "notice", "second");
  EXPECT_EQ(rows(), 1);
  EXPECT_EQ(handover_.take("cookie", "notice"), "second");
}

TEST_F(HandoverTest, KeepsNoReadableTextAndNoCookie) {
  handover_.leave("cookie", true, "notice", "the password");
  Statement row = database_.prepare("SELECT key, sealed FROM left_text");
  ASSERT_TRUE(row.step());
  EXPECT_EQ(row.text(0).find("cookie"), std::string::npos);
  EXPECT_EQ(row.text(1).find("the password"), std::string::npos);
}

TEST_F(HandoverTest, ForgetsAfterAnHour) {
  handover_.leave("cookie", true, "notice", "x");
  time_.now += 3600;
  EXPECT_EQ(handover_.take("cookie", "notice"), "x");
  handover_.leave("cookie", true, "notice", "x");
  time_.now += 3601;
  EXPECT_EQ(handover_.take("cookie", "notice"), "");
}

TEST_F(HandoverTest, KeepsTheLatestHundredAndNothingTooLong) {
  for (int i = 0; i < 101; ++i) handover_.leave("cookie " + std::to_string(i), true, "notice", "x");
  EXPECT_EQ(rows(), 100);
  EXPECT_EQ(handover_.take("cookie 0", "notice"), "");
  EXPECT_EQ(handover_.take("cookie 1", "notice"), "x");
  EXPECT_TRUE(handover_.leave("cookie", true, "post", std::string(256 * 1024, 'x')));
  EXPECT_EQ(handover_.take("cookie", "post").size(), 256U * 1024);
  EXPECT_FALSE(handover_.leave("cookie", true, "post", std::string(256 * 1024 + 1, 'x')));
  EXPECT_EQ(handover_.take("cookie", "post"), "");
}

TEST_F(HandoverTest, LetsVisitorsWithoutASessionPushOutTheirOwnOnly) {
  handover_.leave("admin", true, "notice", "saved");
  for (int i = 0; i < 101; ++i) {
    handover_.leave("cookie " + std::to_string(i), false, "notice", "x");
  }
  EXPECT_EQ(rows(), 101);
  EXPECT_EQ(handover_.take("cookie 0", "notice"), "");
  EXPECT_EQ(handover_.take("cookie 1", "notice"), "x");
  EXPECT_EQ(handover_.take("admin", "notice"), "saved");
}

}  // namespace
}  // namespace platen
