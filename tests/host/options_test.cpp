// The command line of platend.
// SPDX-License-Identifier: MIT
#include "options.h"

#include <gtest/gtest.h>

#include <sstream>

namespace platen {
namespace {

std::string fault_of(const std::vector<std::string>& arguments) {
  Options options;
  std::string error;
  return parse_options(arguments, &options, &error) ? fill_defaults(&options) : error;
}

Options parsed(const std::vector<std::string>& arguments) {
  Options options;
  std::string error;
  EXPECT_TRUE(parse_options(arguments, &options, &error)) << error;
  EXPECT_EQ(fill_defaults(&options), "");
  return options;
}

TEST(Options, HaveDefaults) {
  const Options options = parsed({});
  EXPECT_EQ(options.address, "127.0.0.1");
  EXPECT_EQ(options.port, 8080);
  EXPECT_EQ(options.workers, 2);
  EXPECT_EQ(options.settings, "/etc/platen");
  EXPECT_EQ(options.state, "/var/lib/platen");
  EXPECT_EQ(options.log_level, 6);
}

TEST(Options, TakeValuesInBothForms) {
  const Options options = parsed({"--port", "9000", "--pages=my=pages", "--check"});
  EXPECT_EQ(options.port, 9000);
  EXPECT_EQ(options.pages, "my=pages");
  EXPECT_TRUE(options.check);
}

TEST(Options, TakeTheLastOfSeveral) { EXPECT_EQ(parsed({"--port=1", "--port=2"}).port, 2); }

TEST(Options, EndBeforeACommand) {
  for (const char* command : {"account", "backup", "certificate", "config", "doctor", "restore"}) {
    const Options options = parsed({"--data", "d", command, "set", "--port", ""});
    EXPECT_EQ(options.command, (std::vector<std::string>{command, "set", "--port", ""}));
    EXPECT_EQ(options.state, "d/state");
  }
  EXPECT_TRUE(parsed({"--data", "config"}).command.empty());
}

TEST(Options, TakeMetricsAtALoopbackAddressOnly) {
  for (const char* good : {"127.0.0.1:9100", "127.9.8.7:0", "[::1]:65535"}) {
    EXPECT_EQ(parsed({"--metrics", good}).metrics, good);
  }
  for (const char* bad :
       {"0.0.0.0:9100", "192.0.2.1:9100", "[::]:9100", "::1:9100", "localhost:9100", "127.0.0.1",
        "127.0.0.1:", "127.0.0.1:65536", "127.0.0.1:-1", "127.0.0.1:1x", ":9100", "127.1:9100",
        "[::ffff:127.0.0.1]:1"}) {
    EXPECT_EQ(
        fault_of({"--metrics", bad}),
        "--metrics takes a loopback address and a port, such as 127.0.0.1:9100 or [::1]:9100, "
        "not \"" +
            std::string(bad) + "\"");
  }
  EXPECT_EQ(fault_of({"--fastcgi", "s", "--metrics", "127.0.0.1:1"}),
            "--fastcgi starts no web server, so it takes no --metrics");
}

TEST(Options, PutTheHistoryBelowTheDataElseBelowTheState) {
  EXPECT_EQ(parsed({}).history, "/var/lib/platen/history");
  EXPECT_EQ(parsed({"--state", "s"}).history, "s/history");
  EXPECT_EQ(parsed({"--data", "d", "--state", "s"}).history, "d/history");
  EXPECT_EQ(parsed({"--data", "d", "--history", "h"}).history, "h");
}

TEST(Options, PutSettingsAndStateBelowTheDataDirectory) {
  EXPECT_EQ(parsed({"--data", "d"}).settings, "d/etc");
  EXPECT_EQ(parsed({"--data", "d"}).state, "d/state");
  EXPECT_EQ(parsed({"--data", "d", "--state", "s"}).state, "s");
}

TEST(Options, AreNamedWhenTheyAreWrong) {
  const struct {
    std::vector<std::string> arguments;
    std::string fault;
  } rows[] = {
      {{"--prot", "1"}, "there is no option \"--prot\""},
      {{"data"}, "there is no option \"data\""},
      {{"-h"}, "there is no option \"-h\""},
      {{""}, "there is no option \"\""},
      {{"--port"}, "--port needs a value (N)"},
      {{"--data="}, "--data needs a value (DIR)"},
      {{"--data", ""}, "--data needs a value (DIR)"},
      {{"--check=1"}, "--check takes no value"},
      {{"--port", "65536"}, "--port takes a number from 0 to 65535, not \"65536\""},
      {{"--port", "-1"}, "--port takes a number from 0 to 65535, not \"-1\""},
      {{"--port", "80x"}, "--port takes a number from 0 to 65535, not \"80x\""},
      {{"--port", "99999999999999"},
       "--port takes a number from 0 to 65535, not \"99999999999999\""},
      {{"--workers", "0"}, "--workers takes a number from 1 to 256, not \"0\""},
      {{"--request-time", "0.5"}, "--request-time takes a number from 1 to 3600, not \"0.5\""},
      {{"--certificate", "c"}, "--certificate and --private-key go together"},
      {{"--private-key", "k"}, "--certificate and --private-key go together"},
      {{"--redirect-port", "80"}, "--redirect-port leads to HTTPS, so it needs --certificate"},
      {{"--fastcgi", "s", "--certificate", "c", "--private-key", "k"},
       "--fastcgi starts no web server, so it takes no --certificate"},
      {{"--fastcgi", "s", "--port", "1"},
       "--fastcgi starts no web server, so it goes with neither --port nor --address"},
      {{"--address", "::1", "--fastcgi", "s"},
       "--fastcgi starts no web server, so it goes with neither --port nor --address"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(fault_of(row.arguments), row.fault);
  }
}

TEST(Options, AreSetByNameWithTheirLimits) {
  Options options;
  EXPECT_EQ(set_option("port", "7", "/base", &options), "");
  EXPECT_EQ(set_option("address", "::1", "/base", &options), "");
  EXPECT_EQ(set_option("pages", "my pages", "/base", &options), "");
  EXPECT_EQ(set_option("state", "/var/lib/x", "/base", &options), "");
  EXPECT_EQ(options.port, 7);
  EXPECT_EQ(options.address, "::1");
  EXPECT_EQ(options.pages, "/base/my pages");
  EXPECT_EQ(options.state, "/var/lib/x");
  EXPECT_EQ(set_option("port", "x", "/base", &options),
            "port takes a number from 0 to 65535, not \"x\"");
  EXPECT_EQ(options.port, 7);
}

TEST(Options, OfOneStartAreNoSettings) {
  for (const char* name : {"check", "help", "version", "config", "sandboxed", "", "-port"}) {
    Options options;
    EXPECT_EQ(set_option(name, "1", "/", &options), "there is no setting \"" + std::string(name) +
                                                        "\"; platend --help tells the options");
  }
}

TEST(Options, AreAllExplainedInTheHelp) {
  const std::string help = help_text();
  for (const std::string& name : setting_names()) {
    EXPECT_NE(help.find("\n  --" + name + " "), std::string::npos) << name;
  }
}

TEST(Options, HaveAHelpThatFitsATerminal) {
  std::istringstream help(help_text());
  for (std::string line; std::getline(help, line);) EXPECT_LE(line.size(), 100U) << line;
}

}  // namespace
}  // namespace platen
