// Tests of the audit trail as people get it: merged with the settings' changes, in pages, as files.
// SPDX-License-Identifier: MIT
#include "audit_view.h"

#include <gtest/gtest.h>

#include "device/database.h"
#include "fake_clock.h"
#include "moment.h"
#include "page_fixture.h"

namespace platen {
namespace {

class AuditViewTest : public PageFixture {
 protected:
  void record(const std::string& object, const std::string& outcome = "done") {
    audit_.record({"erika", "10.0.0.1", "login", object, outcome});
  }

  std::vector<std::string> objects(const std::vector<Field>& fields = {}) {
    std::vector<std::string> found;
    for (const AuditEntry& entry : audit_trail(audit_, audit_query(fields).filter)) {
      found.push_back(entry.object);
    }
    return found;
  }

  // The objects of the first and the last entry of a page, and whether there are older ones.
  std::string page(const std::string& number) {
    const Json shown = audit_page(audit_, audit_query({{"page", number}}));
    const Json& entries = shown["entries"];
    return (entries.empty() ? "none"
                            : entries.front()["object"].get<std::string>() + "-" +
                                  entries.back()["object"].get<std::string>()) +
           (shown["hasOlder"] == true ? " and older" : "");
  }

  Database database_{root_ + "/database"};
  FakeClock time_;
  Audit audit_{database_, time_.clock()};
};

using Objects = std::vector<std::string>;

TEST(Moments, NameDaysMinutesAndSeconds) {
  const auto length = [](const char* text) -> int64_t {
    const auto moment = parse_moment(text);
    return moment ? moment->end - moment->begin : 0;
  };
  EXPECT_EQ(length("2026-11-21"), 86400);
  EXPECT_EQ(length("2026-11-21T10:16"), 60);
  EXPECT_EQ(length("2026-11-21T10:16:46Z"), 1);
  EXPECT_EQ(utc_text(parse_moment("2026-11-21T10:16:46Z")->begin), "2026-11-21T10:16:46Z");
  for (const char* wrong :
       {"", "Z", "2026-11-31", "2026-1-1", " 2026-11-21", "2026-11-21T24:00", "2026-11-21T10:16:60",
        "2026-11-21 10:16", "2026-11-21T10:16+01", "99999-01-01", "now"}) {
    EXPECT_EQ(length(wrong), 0) << wrong;
  }
}

TEST_F(AuditViewTest, ShowsChangesOfSettingsAmongTheEntries) {
  record("first");
  time_.now += 10;
  record("third");
  const auto change = [&](int64_t time, const std::string& key) {
    return ConfigurationChange{utc_text(time), key, "TRUE", "max"};
  };
  module_double().changes = {
      change(time_.now + 1, "scanToMailbox.scanToPublic"),
      change(time_.now + 1, "services[templatePool].localUpdating"),
      change(time_.now + 1, "scanToMailbox.john.sid"),
      change(time_.now - 5, "scanToMailbox.john.password"),
  };
  EXPECT_EQ(objects(), (Objects{"scanToMailbox.scanToPublic = TRUE", "third",
                                "scanToMailbox.john.password", "first"}));
  EXPECT_EQ(objects({{"action", "setting"}, {"object", "JOHN"}}),
            (Objects{"scanToMailbox.john.password"}));
  EXPECT_EQ(objects({{"action", "login"}}), (Objects{"third", "first"}));
  EXPECT_EQ(objects({{"login", "max"}, {"outcome", "done"}}),
            (Objects{"scanToMailbox.scanToPublic = TRUE", "scanToMailbox.john.password"}));
  EXPECT_EQ(objects({{"login", "max"}, {"outcome", "refused"}}), Objects{});
}

TEST_F(AuditViewTest, FiltersByTimesThatIncludeBothEnds) {
  time_.now = parse_moment("2026-11-21T10:16:30")->begin;
  record("a");
  time_.now += 60;
  record("b");
  EXPECT_EQ(objects({{"from", "2026-11-21T10:17"}}), (Objects{"b"}));
  EXPECT_EQ(objects({{"to", "2026-11-21T10:16"}}), (Objects{"a"}));
  EXPECT_EQ(objects({{"from", "2026-11-21"}, {"to", "2026-11-21"}}), (Objects{"b", "a"}));
  EXPECT_EQ(objects({{"from", ""}, {"to", ""}}), (Objects{"b", "a"}));
}

TEST_F(AuditViewTest, ShowsPagesOfAHundred) {
  EXPECT_EQ(page(""), "none");
  for (int i = 1; i <= 200; ++i) record(std::to_string(i));
  EXPECT_EQ(page(""), "200-101 and older");
  EXPECT_EQ(page("2"), "100-1");
  EXPECT_EQ(page("3"), "none");
  record("201");
  EXPECT_EQ(page("2"), "101-2 and older");
  EXPECT_EQ(page("99999"), "none");
}

TEST_F(AuditViewTest, WritesCellsThatNoSpreadsheetRuns) {
  time_.now = parse_moment("2026-11-21T10:16:46")->begin;
  record("=1+1");
  record("say \"hi\", a;b", "refused: \r\nno");
  record("@SUM(A1)\xFF");
  record("-2");
  record("+3");
  record("\t=4");
  const std::string start = "\"2026-11-21 10:16:46\",\"erika\",\"10.0.0.1\",\"login\",";
  EXPECT_EQ(
      audit_csv(audit_trail(audit_, {}), ","),
      "\xEF\xBB\xBF\"time (UTC)\",\"login\",\"address\",\"action\",\"object\",\"outcome\"\r\n" +
          start + "\"'\t=4\",\"done\"\r\n" + start + "\"'+3\",\"done\"\r\n" + start +
          "\"'-2\",\"done\"\r\n" + start + "\"'@SUM(A1)\xEF\xBF\xBD\",\"done\"\r\n" + start +
          "\"say \"\"hi\"\", a;b\",\"refused: \r\nno\"\r\n" + start + "\"'=1+1\",\"done\"\r\n");
  EXPECT_EQ(
      audit_csv({}, ";"),
      "\xEF\xBB\xBF\"time (UTC)\";\"login\";\"address\";\"action\";\"object\";\"outcome\"\r\n");
}

TEST_F(AuditViewTest, WritesOneJsonObjectALine) {
  time_.now = parse_moment("2026-11-21T10:16:46")->begin;
  record("a\n\"b\"");
  EXPECT_EQ(audit_lines(audit_trail(audit_, {})),
            "{\"time\":\"2026-11-21T10:16:46Z\",\"login\":\"erika\",\"address\":\"10.0.0.1\","
            "\"action\":\"login\",\"object\":\"a\\n\\\"b\\\"\",\"outcome\":\"done\"}\n");
}

}  // namespace
}  // namespace platen
