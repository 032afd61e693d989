// Tests of the command line "platend config".
// SPDX-License-Identifier: MIT
#include "config_command.h"

#include <gtest/gtest.h>

#include "../device/temporary_directory.h"
#include "capture.h"
#include "device/configuration.h"
#include "platform/configapi.h"

namespace platen {
namespace {

constexpr char kUsage[] =
    "usage: platend config list\n"
    "       platend config get KEY\n"
    "       platend config set KEY VALUE\n";

class ConfigCommandTest : public testing::Test {
 protected:
  void SetUp() override {
    std::string error;
    ASSERT_TRUE(open_configuration(file_, &error)) << error;
  }

  struct Result {
    int status;
    std::string out;
    std::string err;

    bool operator==(const Result& other) const = default;
  };

  friend void PrintTo(const Result& result, std::ostream* out) {
    *out << result.status << " out: " << result.out << " err: " << result.err;
  }

  Result run(const std::vector<std::string>& words) { return run_on(file_, words); }

  static Result run_on(const std::string& file, const std::vector<std::string>& words) {
    Capture out;
    Capture err;
    const int status = config_command(words, file, out.stream(), err.stream());
    return {status, out.text(), err.text()};
  }

  TemporaryDirectory directory_;
  std::string file_ = directory_.file("d");
};

TEST_F(ConfigCommandTest, SetsAndGetsAndLists) {
  EXPECT_EQ(run({"list"}), (Result{0, "", ""}));
  EXPECT_EQ(run({"set", "scanToMailbox.scanToPublic", "FALSE"}), (Result{0, "", ""}));
  EXPECT_EQ(run({"set", "empty", ""}), (Result{0, "", ""}));
  EXPECT_EQ(run({"set", "lines", "a\n\x1B[1mb\\"}), (Result{0, "", ""}));
  EXPECT_EQ(run({"get", "scanToMailbox.scanToPublic"}), (Result{0, "FALSE\n", ""}));
  EXPECT_EQ(run({"get", "empty"}), (Result{0, "\n", ""}));
  EXPECT_EQ(run({"get", "lines"}), (Result{0, "a\n\x1B[1mb\\\n", ""}));
  EXPECT_EQ(run({"list"}), (Result{0,
                                   "empty = \n"
                                   "lines = a\\n\\x1B[1mb\\\\\n"
                                   "scanToMailbox.scanToPublic = FALSE\n",
                                   ""}));
  bool_t stored = TRUE;
  EXPECT_EQ(Cfg_GetBoolAttrValue("scanToMailbox.scanToPublic", &stored), CFG_OK);
  EXPECT_EQ(stored, FALSE);
}

TEST_F(ConfigCommandTest, HidesPasswordsAndSessionIds) {
  run({"set", "scanToMailbox.john.password", "4711"});
  run({"set", "scanToMailbox.john.sid", "5ec2e7"});
  run({"set", "scanToMailbox.password.x", "shown"});
  EXPECT_EQ(run({"get", "scanToMailbox.john.password"}), (Result{0, "(hidden)\n", ""}));
  EXPECT_EQ(run({"get", "scanToMailbox.john.sid"}), (Result{0, "(hidden)\n", ""}));
  EXPECT_EQ(run({"list"}), (Result{0,
                                   "scanToMailbox.john.password = (hidden)\n"
                                   "scanToMailbox.john.sid = (hidden)\n"
                                   "scanToMailbox.password.x = shown\n",
                                   ""}));
  ConfigAVP_t value = "";
  EXPECT_EQ(Cfg_GetAttrValue("scanToMailbox.john.password", value, sizeof value), CFG_OK);
  EXPECT_STREQ(value, "4711");
}

TEST_F(ConfigCommandTest, TellsWhatItCannotDo) {
  const std::string long_key(256, 'k');
  EXPECT_EQ(run({"get", "absent"}), (Result{1, "", "platend config: \"absent\" is not set\n"}));
  for (const std::string& key : {std::string(), long_key}) {
    EXPECT_EQ(run({"get", key}), (Result{1, "", "platend config: a key has 1 to 255 bytes\n"}));
    EXPECT_EQ(run({"set", key, "v"}),
              (Result{1, "", "platend config: a key has 1 to 255 bytes, a value at most 1063\n"}));
  }
  EXPECT_EQ(run({"set", "k", std::string(1064, 'v')}).status, 1);
}

TEST_F(ConfigCommandTest, ExplainsItselfWhenItIsNotUnderstood) {
  const std::vector<std::vector<std::string>> rows = {{},
                                                      {"lists"},
                                                      {"list", "k"},
                                                      {"get"},
                                                      {"get", "k", "v"},
                                                      {"set", "k"},
                                                      {"set", "k", "v", "w"},
                                                      {"unset", "k"}};
  for (const auto& words : rows) {
    EXPECT_EQ(run(words), (Result{2, "", kUsage}));
  }
}

TEST_F(ConfigCommandTest, MakesNoDatabase) {
  const std::string file = directory_.file("none");
  EXPECT_EQ(run_on(file, {"list"}),
            (Result{1, "",
                    "platend config: " + file +
                        ": No such file or directory; start platend once, or name its data by "
                        "--data\n"}));
  EXPECT_EQ(directory_.read("none"), "");
}

TEST_F(ConfigCommandTest, TellsAFileThatIsNoDatabase) {
  const std::string file = directory_.write("text", std::string(8192, 'x'));
  const Result result = run_on(file, {"list"});
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(result.err.starts_with("platend config: " + file + ": ")) << result.err;
}

}  // namespace
}  // namespace platen
