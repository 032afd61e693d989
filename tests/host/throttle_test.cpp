// Tests of the growing waits after failed tries.
// SPDX-License-Identifier: MIT
#include "throttle.h"

#include <gtest/gtest.h>

#include "../device/temporary_directory.h"
#include "fake_clock.h"

namespace platen {
namespace {

class ThrottleTest : public testing::Test {
 protected:
  // So many failures, each heard.
  void fail(int times, const std::string& subject = "account:a",
            const std::string& from = "10.0.0.1") {
    for (int i = 0; i < times; ++i) {
      wait_and_try(subject, from);
    }
  }

  // One try that is heard. Returns how long it was waited for.
  int64_t wait_and_try(const std::string& subject, const std::string& from) {
    const int64_t wait = throttle_.begin(subject, from);
    time_.now += wait;
    if (wait > 0) {
      EXPECT_EQ(throttle_.begin(subject, from), 0);
    }
    return wait;
  }

  TemporaryDirectory directory_;
  Database database_{directory_.file("d")};
  FakeClock time_;
  Throttle throttle_{database_, time_.clock()};
};

TEST_F(ThrottleTest, DoublesTheWaitAfterFiveFreeTriesUpToFifteenMinutes) {
  const int64_t waits[] = {0, 0, 0, 0, 0, 1, 2, 4, 8, 16, 32, 64, 128, 256, 512, 900, 900};
  for (const int64_t wait : waits) {
    EXPECT_EQ(wait_and_try("account:a", "10.0.0.1"), wait);
  }
}

TEST_F(ThrottleTest, CountsNoTryThatWasNotHeardAndTellsTheSecondsThatRemain) {
  fail(8);
  for (int64_t remaining = 8; remaining > 0; --remaining, ++time_.now) {
    EXPECT_EQ(throttle_.begin("account:a", "10.0.0.1"), remaining);
  }
  EXPECT_EQ(throttle_.begin("account:a", "10.0.0.1"), 0);
}

TEST_F(ThrottleTest, LeavesOtherAccountsAndAddressesAlone) {
  fail(6);
  EXPECT_GT(throttle_.begin("account:a", "10.0.0.1"), 0);
  EXPECT_EQ(throttle_.begin("account:b", "10.0.0.1"), 0);
  EXPECT_EQ(throttle_.begin("account:a", "10.0.0.2"), 0);
}

TEST_F(ThrottleTest, SlowsAGuesserWhoChangesAddresses) {
  for (int i = 0; i < 20; ++i) {
    EXPECT_EQ(throttle_.begin("account:a", "10.0.0." + std::to_string(i)), 0);
  }
  EXPECT_EQ(throttle_.begin("account:a", "10.0.1.1"), 1);
}

TEST_F(ThrottleTest, SlowsAGuesserWhoChangesAccounts) {
  for (int i = 0; i < 50; ++i) {
    EXPECT_EQ(throttle_.begin("account:" + std::to_string(i), "10.0.0.1"), 0);
  }
  EXPECT_EQ(throttle_.begin("account:50", "10.0.0.1"), 1);
}

TEST_F(ThrottleTest, CountsIpv6ByNetwork) {
  struct Row {
    const char* address;
    bool same;
  };
  const Row rows[] = {{"2001:db8:1:2::1", true},
                      {"2001:db8:1:2:ffff:1:2:3", true},
                      {"2001:db8:1:3::1", false},
                      {"::ffff:10.0.0.1", false}};
  fail(5, "account:a", "2001:db8:1:2::99");
  for (const Row& row : rows) {
    EXPECT_EQ(throttle_.begin("account:a", row.address) > 0, row.same) << row.address;
  }
  EXPECT_EQ(throttle_.begin("account:a", "::ffff:10.0.0.2"), 0);
}

TEST_F(ThrottleTest, ForgivesASuccessAndThePairsFailuresBeforeIt) {
  for (int round = 0; round < 10; ++round) {
    EXPECT_EQ(throttle_.begin("account:a", "10.0.0.1"), 0);
    throttle_.succeeded("account:a", "10.0.0.1");
  }
  fail(4);
  EXPECT_EQ(throttle_.begin("account:a", "10.0.0.1"), 0);
  throttle_.succeeded("account:a", "10.0.0.1");
  EXPECT_EQ(throttle_.begin("account:a", "10.0.0.1"), 0);
}

TEST_F(ThrottleTest, ForgivesNoFailureOfTheAddressByASuccessOfAnother) {
  for (int i = 0; i < 50; ++i) {
    EXPECT_EQ(throttle_.begin("account:" + std::to_string(i), "10.0.0.1"), 0);
  }
  time_.now += 1;
  EXPECT_EQ(throttle_.begin("account:own", "10.0.0.1"), 0);
  throttle_.succeeded("account:own", "10.0.0.1");
  EXPECT_EQ(throttle_.begin("account:x", "10.0.0.1"), 1);
}

TEST_F(ThrottleTest, ForgetsASubjectFromEverywhereAndNoOther) {
  for (int i = 0; i < 15; ++i) {
    EXPECT_EQ(throttle_.begin("account:a", "10.0.1." + std::to_string(i)), 0);
  }
  fail(5, "account:a");
  fail(5, "account:b");
  EXPECT_EQ(throttle_.begin("account:a", "10.0.0.9"), 1);
  throttle_.forget("account:a");
  EXPECT_EQ(throttle_.begin("account:a", "10.0.0.9"), 0);
  EXPECT_EQ(throttle_.begin("account:a", "10.0.0.1"), 0);
  EXPECT_EQ(throttle_.begin("account:b", "10.0.0.1"), 1);
}

TEST_F(ThrottleTest, KeepsTheFailuresOfTheAddressOfAForgottenSubject) {
  for (int i = 0; i < 50; ++i) {
    EXPECT_EQ(throttle_.begin("account:" + std::to_string(i), "10.0.0.1"), 0);
  }
  throttle_.forget("account:1");
  EXPECT_EQ(throttle_.begin("account:1", "10.0.0.1"), 1);
}

TEST_F(ThrottleTest, ForgetsAfterAnHour) {
  fail(9);
  time_.now += kHour + 1;
  fail(5);
  EXPECT_EQ(throttle_.begin("account:a", "10.0.0.1"), 1);
}

TEST_F(ThrottleTest, WaitsNoLongerThanToldWhenTheClockIsSetBack) {
  fail(6);
  time_.now -= 600;
  EXPECT_EQ(throttle_.begin("account:a", "10.0.0.1"), 2);
  time_.now -= kDay;
  EXPECT_EQ(throttle_.begin("account:a", "10.0.0.1"), 0);
}

TEST_F(ThrottleTest, RemembersInTheDatabaseAndNoNames) {
  fail(6);
  Database reopened(directory_.file("d"));
  EXPECT_EQ(Throttle(reopened, time_.clock()).begin("account:a", "10.0.0.1"), 2);
  Statement readable =
      reopened.prepare("SELECT count(*) FROM failed_try WHERE counter LIKE '%account%'");
  readable.step();
  EXPECT_EQ(readable.integer(0), 0);
}

}  // namespace
}  // namespace platen
