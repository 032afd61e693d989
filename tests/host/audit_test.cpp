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

TEST_F(AuditTest, TellsWhatIsUnderWayUntilItIsRecorded) {
  std::vector<std::string> told;
  audit_.watch([&](std::string_view text) { told.emplace_back(text); });
  audit_.announce({"erika", "10.0.0.1", "copy", "a\xFF\"" + std::string(400, 'x'), ""});
  audit_.record({"erika", "10.0.0.1", "copy", "a", "done"});
  ASSERT_EQ(told.size(), 2U);
  EXPECT_EQ(told[1], "");
  const std::optional<AuditEntry> entry = ended_entry(told[0], "failed: exit status 1");
  ASSERT_TRUE(entry);
  EXPECT_EQ(entry->login, "erika");
  EXPECT_EQ(entry->address, "10.0.0.1");
  EXPECT_EQ(entry->action, "copy");
  EXPECT_EQ(entry->object, "a\xEF\xBF\xBD\"" + std::string(297, 'x'));
  EXPECT_EQ(entry->outcome, "failed: exit status 1");
  for (const char* wrong : {"", "[", "[\"a\"]", "{}", "[1,2,3,4]", "[\"a\",\"b\",\"c\",null]"}) {
    EXPECT_FALSE(ended_entry(wrong, "")) << wrong;
  }
}

TEST_F(AuditTest, AddsWhatHadToWaitWithItsOwnTime) {
  audit_.announce({"erika", "", "copy", "a", ""});
  audit_.end_announced("failed: first");
  audit_.end_announced("failed: nothing is announced");
  const int64_t then = time_.now;
  time_.now += 60;
  audit_.record({"", "", "", "", "second"});
  audit_.record({"", "", "", "", "third"});
  EXPECT_EQ(outcomes({}), (std::vector<std::string>{"third", "second", "failed: first"}));
  EXPECT_EQ(audit_.list()[2].time, then);
  EXPECT_EQ(audit_.list()[1].time, time_.now);
}

TEST_F(AuditTest, KeepsAHundredWaitingEntries) {
  Audit all(database_);
  for (int i = 0; i < 101; ++i) all.record_later({"", "", "", "", "waiting"});
  all.record({"", "", "", "", "last"});
  EXPECT_EQ(all.list({.limit = 1000}).size(), 101U);
}

TEST_F(AuditTest, CutsLongTexts) {
  audit_.record({"", "", "", std::string(5000, 'x'), ""});
  EXPECT_EQ(audit_.list()[0].object, std::string(1000, 'x'));
}

}  // namespace
}  // namespace platen
