// Tests of the configuration store: values, limits, history, kills and parallel writers.
// SPDX-License-Identifier: MIT
#include "device/configuration.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <functional>

#include "device/log.h"
#include "platform/configapi.h"
#include "temporary_directory.h"

namespace platen {
namespace {

// Runs `body` in a child process and returns how the child ended, as waitpid() tells it.
int in_child(const std::function<void()>& body) {
  pid_t child = fork();
  if (child == 0) {
    body();
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return status;
}

class ConfigurationTest : public testing::Test {
 protected:
  void SetUp() override {
    std::string error;
    ASSERT_TRUE(open_configuration(file_, &error)) << error;
    set_log_observer(
        [](void* lines, const LogLine& line) {
          static_cast<std::vector<std::string>*>(lines)->push_back(std::to_string(line.level) +
                                                                   " " + std::string(line.text));
        },
        &logged_);
  }
  void TearDown() override {
    set_log_observer(nullptr, nullptr);
    set_configuration_author("");
  }

  static std::string value(const char* key) {
    ConfigAVP_t text = "untouched";
    EXPECT_EQ(Cfg_GetAttrValue(key, text, sizeof text), CFG_OK) << key;
    return text;
  }

  static std::string open_error(const std::string& file) {
    std::string error;
    EXPECT_FALSE(open_configuration(file, &error));
    return error;
  }

  TemporaryDirectory directory_;
  std::string file_ = directory_.file("configuration.db");
  std::vector<std::string> logged_;
};

TEST_F(ConfigurationTest, GivesBackWhatWasSet) {
  const std::string texts[] = {"",
                               "plain",
                               "a \"quoted\" \\ text",
                               "\n\t\x01\x7F",
                               "\xFF\xFE no UTF-8",
                               std::string(1063, 'x')};
  for (const std::string& text : texts) {
    ASSERT_EQ(Cfg_SetAttrValue("key", text.c_str()), CFG_OK);
    EXPECT_EQ(value("key"), text);
  }
  EXPECT_EQ(logged_, std::vector<std::string>{});
}

TEST_F(ConfigurationTest, ANullValueIsStoredAsEmptyAndHasAValue) {
  ASSERT_EQ(Cfg_SetAttrValue("key", nullptr), CFG_OK);
  EXPECT_EQ(value("key"), "");
}

TEST_F(ConfigurationTest, AKeyThatWasNeverSetFailsAndLeavesTheBuffer) {
  ConfigAVP_t text = "untouched";
  EXPECT_EQ(Cfg_GetAttrValue("scanToMailbox.john.password", text, sizeof text), CFG_NO_VALUE);
  EXPECT_STREQ(text, "untouched");
  EXPECT_EQ(logged_, std::vector<std::string>{});
}

TEST_F(ConfigurationTest, KeysAreComparedExactly) {
  ASSERT_EQ(Cfg_SetAttrValue("Key", "upper"), CFG_OK);
  ConfigAVP_t text = "";
  EXPECT_EQ(Cfg_GetAttrValue("key", text, sizeof text), CFG_NO_VALUE);
  EXPECT_EQ(Cfg_GetAttrValue("Key ", text, sizeof text), CFG_NO_VALUE);
}

TEST_F(ConfigurationTest, LimitsAreExact) {
  const std::string long_key(255, 'k');
  const std::string long_value(1063, 'v');
  EXPECT_EQ(Cfg_SetAttrValue(long_key.c_str(), long_value.c_str()), CFG_OK);
  EXPECT_EQ(Cfg_SetAttrValue((long_key + "k").c_str(), "v"), CFG_INVALID);
  EXPECT_EQ(Cfg_SetAttrValue("key", (long_value + "v").c_str()), CFG_INVALID);
  EXPECT_EQ(Cfg_SetAttrValue("", "v"), CFG_INVALID);
  EXPECT_EQ(Cfg_SetAttrValue(nullptr, "v"), CFG_INVALID);
  char text[1064] = "untouched";
  EXPECT_EQ(Cfg_GetAttrValue(long_key.c_str(), text, 1063), CFG_INVALID);
  EXPECT_STREQ(text, "untouched");
  EXPECT_EQ(Cfg_GetAttrValue(long_key.c_str(), text, 1064), CFG_OK);
  EXPECT_EQ(text, long_value);
  EXPECT_EQ(Cfg_GetAttrValue(long_key.c_str(), text, 0), CFG_INVALID);
  EXPECT_EQ(Cfg_GetAttrValue(long_key.c_str(), nullptr, 1064), CFG_INVALID);
  EXPECT_EQ(Cfg_GetAttrValue(nullptr, text, 1064), CFG_INVALID);
  EXPECT_EQ(Cfg_GetAttrValue("", text, 1064), CFG_INVALID);
}

TEST_F(ConfigurationTest, BooleansAreReadFromTheirFourTexts) {
  const struct {
    const char* text;
    int status;
    bool_t value;
  } rows[] = {
      {"TRUE", CFG_OK, TRUE},      {"1", CFG_OK, TRUE},    {"FALSE", CFG_OK, FALSE},
      {"0", CFG_OK, FALSE},        {"", CFG_NO_VALUE, 77}, {"true", CFG_NO_VALUE, 77},
      {"TRUE ", CFG_NO_VALUE, 77},
  };
  for (const auto& row : rows) {
    ASSERT_EQ(Cfg_SetAttrValue("flag", row.text), CFG_OK);
    bool_t read = 77;
    EXPECT_EQ(Cfg_GetBoolAttrValue("flag", &read), row.status) << row.text;
    EXPECT_EQ(read, row.value) << row.text;
  }
}

TEST_F(ConfigurationTest, BooleansAreWrittenAsText) {
  ASSERT_EQ(Cfg_SetBoolAttrValue("flag", 2), CFG_OK);
  EXPECT_EQ(value("flag"), "TRUE");
  ASSERT_EQ(Cfg_SetBoolAttrValue("flag", FALSE), CFG_OK);
  EXPECT_EQ(value("flag"), "FALSE");
  bool_t read = 77;
  EXPECT_EQ(Cfg_GetBoolAttrValue("never set", &read), CFG_NO_VALUE);
  EXPECT_EQ(read, 77);
  EXPECT_EQ(Cfg_GetBoolAttrValue("flag", nullptr), CFG_INVALID);
}

TEST_F(ConfigurationTest, TheContextIsFixed) { EXPECT_STREQ(Cfg_GetContext(), "platend:"); }

TEST_F(ConfigurationTest, ASettingSurvivesTheKillOfItsProcess) {
  int status = in_child([] {
    if (Cfg_SetAttrValue("key", "set before the kill") == CFG_OK) kill(getpid(), SIGKILL);
  });
  ASSERT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(value("key"), "set before the kill");
  ASSERT_EQ(Cfg_SetAttrValue("key", "and after it"), CFG_OK);
  EXPECT_EQ(value("key"), "and after it");
}

TEST_F(ConfigurationTest, AChildHasAConnectionOfItsOwn) {
  ASSERT_EQ(Cfg_SetAttrValue("key", "parent"), CFG_OK);
  int status = in_child([] {
    if (value("key") != "parent" || Cfg_SetAttrValue("key", "child") != CFG_OK) _exit(1);
  });
  EXPECT_EQ(status, 0);
  EXPECT_EQ(value("key"), "child");
  ASSERT_EQ(Cfg_SetAttrValue("key", "parent again"), CFG_OK);
  EXPECT_EQ(value("key"), "parent again");
}

TEST_F(ConfigurationTest, ParallelWritersLoseNothing) {
  constexpr int kWriters = 4;
  constexpr int kWrites = 50;
  for (int writer = 0; writer < kWriters; ++writer) {
    if (fork() == 0) {
      std::string own = "writer." + std::to_string(writer);
      for (int count = 0; count < kWrites; ++count) {
        if (Cfg_SetAttrValue("shared", own.c_str()) != CFG_OK) _exit(1);
        if (Cfg_SetAttrValue(own.c_str(), std::to_string(count).c_str()) != CFG_OK) _exit(1);
      }
      _exit(0);
    }
  }
  for (int writer = 0; writer < kWriters; ++writer) {
    int status = 0;
    wait(&status);
    EXPECT_EQ(status, 0);
  }
  EXPECT_EQ(configuration_writes("shared"), kWriters * kWrites);
  for (int writer = 0; writer < kWriters; ++writer) {
    EXPECT_EQ(value(("writer." + std::to_string(writer)).c_str()), std::to_string(kWrites - 1));
  }
}

TEST_F(ConfigurationTest, CountsTheWritesOfAKey) {
  EXPECT_EQ(configuration_writes("services[templatePool].localUpdating"), 0);
  for (int count = 1; count <= 3; ++count) {
    ASSERT_EQ(Cfg_SetAttrValue("services[templatePool].localUpdating", "TRUE"), CFG_OK);
    EXPECT_EQ(configuration_writes("services[templatePool].localUpdating"), count);
  }
}

TEST_F(ConfigurationTest, TheHistoryTellsWhoChangedWhatAndNoSecret) {
  ASSERT_EQ(Cfg_SetBoolAttrValue("scanToMailbox.scanToPublic", TRUE), CFG_OK);
  set_configuration_author("admin");
  ASSERT_EQ(Cfg_SetBoolAttrValue("scanToMailbox.scanToPublic", FALSE), CFG_OK);
  ASSERT_EQ(Cfg_SetAttrValue("scanToMailbox.john.password", "4711"), CFG_OK);
  ASSERT_EQ(Cfg_SetAttrValue("scanToMailbox.john.sid", "5ec2e7"), CFG_OK);
  std::vector<ConfigurationChange> changes = configuration_history(10);
  ASSERT_EQ(changes.size(), 4U);
  const struct {
    const char *key, *value, *author;
  } rows[] = {
      {"scanToMailbox.john.sid", "", "admin"},
      {"scanToMailbox.john.password", "", "admin"},
      {"scanToMailbox.scanToPublic", "FALSE", "admin"},
      {"scanToMailbox.scanToPublic", "TRUE", ""},
  };
  for (size_t i = 0; i < changes.size(); ++i) {
    EXPECT_EQ(changes[i].key, rows[i].key);
    EXPECT_EQ(changes[i].value, rows[i].value);
    EXPECT_EQ(changes[i].author, rows[i].author);
    EXPECT_EQ(changes[i].time.size(), std::strlen("2026-11-21T10:16:46Z"));
    EXPECT_EQ(changes[i].time.back(), 'Z');
  }
  EXPECT_EQ(configuration_history(1).size(), 1U);
}

TEST_F(ConfigurationTest, TheHistoryKeepsItsLastTenThousandChanges) {
  sqlite3* database = nullptr;
  ASSERT_EQ(sqlite3_open(file_.c_str(), &database), SQLITE_OK);
  ASSERT_EQ(
      sqlite3_exec(database,
                   "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n LIMIT 10005)"
                   " INSERT OR REPLACE INTO setting SELECT 'key', i, '', i FROM n",
                   nullptr, nullptr, nullptr),
      SQLITE_OK)
      << sqlite3_errmsg(database);
  sqlite3_close(database);
  std::vector<ConfigurationChange> changes = configuration_history(20'000);
  ASSERT_EQ(changes.size(), 10'000U);
  EXPECT_EQ(changes.front().value, "10005");
  EXPECT_EQ(changes.back().value, "6");
}

TEST_F(ConfigurationTest, TheFileIsReadableByItsOwnerOnly) {
  struct stat status {};
  ASSERT_EQ(stat(file_.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600U);
}

TEST_F(ConfigurationTest, OpeningAgainKeepsTheSettings) {
  ASSERT_EQ(Cfg_SetAttrValue("key", "kept"), CFG_OK);
  std::string error;
  ASSERT_TRUE(open_configuration(file_, &error)) << error;
  EXPECT_EQ(value("key"), "kept");
}

TEST_F(ConfigurationTest, AFileThatIsNoConfigurationIsRefusedAndKept) {
  std::string text = directory_.write("text", std::string(5000, 'x'));
  EXPECT_EQ(open_error(text),
            text + ": file is not a database; name another file or move this one away");
  EXPECT_EQ(directory_.read("text"), std::string(5000, 'x'));
  std::string other = directory_.file("other.db");
  sqlite3* database = nullptr;
  ASSERT_EQ(sqlite3_open(other.c_str(), &database), SQLITE_OK);
  sqlite3_exec(database, "CREATE TABLE theirs (a)", nullptr, nullptr, nullptr);
  sqlite3_close(database);
  EXPECT_EQ(open_error(other),
            other + ": is a database of another program; name another file or move this one away");
  std::string missing = directory_.file("none/configuration.db");
  EXPECT_EQ(open_error(missing),
            missing + ": No such file or directory; its directory must exist and be writable");
}

TEST_F(ConfigurationTest, ADatabaseThatIsDestroyedIsToldInTheLog) {
  unlink(file_.c_str());
  directory_.write("configuration.db", std::string(5000, 'x'));
  ConfigAVP_t text = "untouched";
  EXPECT_EQ(Cfg_GetAttrValue("key", text, sizeof text), CFG_UNAVAILABLE);
  EXPECT_STREQ(text, "untouched");
  EXPECT_EQ(Cfg_SetAttrValue("key", "x"), CFG_UNAVAILABLE);
  EXPECT_EQ(configuration_writes("key"), 0);
  EXPECT_EQ(configuration_history(1).size(), 0U);
  const std::string line = "3 The configuration is unavailable: " + file_ +
                           ": file is not a database; name another file or move this one away";
  EXPECT_EQ(logged_, std::vector<std::string>(4, line));
}

TEST(UnconfiguredTest, EverySettingIsUnavailable) {
  EXPECT_EQ(Cfg_SetAttrValue("key", "x"), CFG_UNAVAILABLE);
}

}  // namespace
}  // namespace platen
