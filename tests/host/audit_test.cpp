// Tests of the audit trail.
// SPDX-License-Identifier: MIT
#include "audit.h"

#include <gtest/gtest.h>

#include "../device/temporary_directory.h"
#include "fake_clock.h"

namespace platen {
namespace {

class AuditTest : public testing::Test {
 protected:
  // The outcomes that match, newest first.
  std::vector<std::string> outcomes(const AuditFilter& filter) {
    std::vector<std::string> found;
    for (const AuditEntry& entry : audit_.list(filter)) found.push_back(entry.outcome);
    return found;
  }

  TemporaryDirectory directory_;
  Database database_{directory_.file("d")};
  FakeClock time_;
  Audit audit_{database_, time_.clock(), 5};
};

TEST_F(AuditTest, KeepsEveryTextAndTheTime) {
  audit_.record({"erika", "10.0.0.1", "login", "a\n\xFF'", "done"});
  const std::vector<AuditEntry> entries = audit_.list();
  ASSERT_EQ(entries.size(), 1U);
  EXPECT_EQ(entries[0].login, "erika");
  EXPECT_EQ(entries[0].address, "10.0.0.1");
  EXPECT_EQ(entries[0].action, "login");
  EXPECT_EQ(entries[0].object, "a\n\xFF'");
  EXPECT_EQ(entries[0].outcome, "done");
  EXPECT_EQ(entries[0].time, time_.now);
}

TEST_F(AuditTest, ListsWhatMatchesNewestFirst) {
  audit_.record({"erika", "10.0.0.1", "copy", "a.KTP", "1"});
  audit_.record({"max", "10.0.0.1", "copy", "b.KTP", "2"});
  audit_.record({"erika", "10.0.0.2", "delete", "a.KTP", "3"});
  audit_.record({"", "", "login", "", "4"});
  using Outcomes = std::vector<std::string>;
  EXPECT_EQ(outcomes({}), (Outcomes{"4", "3", "2", "1"}));
  EXPECT_EQ(outcomes({.login = "erika"}), (Outcomes{"3", "1"}));
  EXPECT_EQ(outcomes({.address = "10.0.0.1"}), (Outcomes{"2", "1"}));
  EXPECT_EQ(outcomes({.action = "copy"}), (Outcomes{"2", "1"}));
  EXPECT_EQ(outcomes({.object = "a.KTP"}), (Outcomes{"3", "1"}));
  EXPECT_EQ(outcomes({.login = "erika", .action = "copy"}), (Outcomes{"1"}));
  EXPECT_EQ(outcomes({.login = "Erika"}), Outcomes{});
  EXPECT_EQ(outcomes({.limit = 2}), (Outcomes{"4", "3"}));
}

TEST_F(AuditTest, FindsPartsOfAnObjectAsTheyStand) {
  audit_.record({"", "", "", "/pool/100%_A.KTP", "1"});
  audit_.record({"", "", "", "/pool/100 B.KTP", "2"});
  using Outcomes = std::vector<std::string>;
  EXPECT_EQ(outcomes({.object = "POOL/100"}), (Outcomes{"2", "1"}));
  EXPECT_EQ(outcomes({.object = "%"}), (Outcomes{"1"}));
  EXPECT_EQ(outcomes({.object = "_a.ktp"}), (Outcomes{"1"}));
  EXPECT_EQ(outcomes({.object = "100*"}), Outcomes{});
  for (const char* attack : {"' OR '1'='1", "\"; DROP TABLE audit; --", "\\", "?1"}) {
    EXPECT_EQ(outcomes({.login = attack}), Outcomes{}) << attack;
    EXPECT_EQ(outcomes({.object = attack}), Outcomes{}) << attack;
  }
  EXPECT_EQ(outcomes({}), (Outcomes{"2", "1"}));
}

TEST_F(AuditTest, FindsOutcomesAndTimes) {
  for (const char* outcome : {"done", "refused: no", "failed"}) {
    audit_.record({"", "", "", "", outcome});
    ++time_.now;
  }
  const int64_t first = time_.now - 3;
  using Outcomes = std::vector<std::string>;
  EXPECT_EQ(outcomes({.is_done = true}), (Outcomes{"done"}));
  EXPECT_EQ(outcomes({.is_done = false}), (Outcomes{"failed", "refused: no"}));
  EXPECT_EQ(outcomes({.begin = first + 1}), (Outcomes{"failed", "refused: no"}));
  EXPECT_EQ(outcomes({.end = first + 1}), (Outcomes{"done"}));
}

TEST_F(AuditTest, DropsTheOldest) {
  for (int i = 1; i <= 7; ++i) audit_.record({"", "", "", "", std::to_string(i)});
  EXPECT_EQ(outcomes({}), (std::vector<std::string>{"7", "6", "5", "4", "3"}));
}

TEST_F(AuditTest, CutsLongTexts) {
  audit_.record({"", "", "", std::string(5000, 'x'), ""});
  EXPECT_EQ(audit_.list()[0].object, std::string(1000, 'x'));
}

}  // namespace
}  // namespace platen
