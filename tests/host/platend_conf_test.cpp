// The configuration file: what it sets, and how its mistakes are told.
// SPDX-License-Identifier: MIT
#include "platend_conf.h"

#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <set>

#include "../device/temporary_directory.h"

namespace platen {
namespace {

using Lines = std::vector<std::string>;

Options parsed(const Lines& arguments) {
  Options options;
  std::string error;
  EXPECT_TRUE(parse_options(arguments, &options, &error)) << error;
  return options;
}

TEST(PlatendConf, SetsOptions) {
  TemporaryDirectory directory;
  Options options;
  const std::string file = directory.write("platend.conf",
                                           "# a comment\n\n"
                                           "port=9000\r\n"
                                           "  pages \t=  my = pages # all \n"
                                           "log-file = /var/log/platend.log");
  EXPECT_EQ(read_configuration(file, &options), Lines{});
  EXPECT_EQ(options.port, 9000);
  EXPECT_EQ(options.pages, directory.path() + "/my = pages # all");
  EXPECT_EQ(options.log_file, "/var/log/platend.log");
}

TEST(PlatendConf, TellsFileLineAndSettingOfEachMistake) {
  TemporaryDirectory directory;
  Options options;
  const std::string file = directory.write("c",
                                           "prot = 1\n"
                                           "port = many\n"
                                           "workers = 3\n"
                                           "workers = 3\n"
                                           "state =\n"
                                           "address 1.2.3.4\n"
                                           "help = 1\n"
                                           "request-time = 0\n");
  EXPECT_EQ(
      read_configuration(file, &options),
      (Lines{file + ":1: there is no setting \"prot\"; platend --help tells the options",
             file + ":2: port takes a number from 0 to 65535, not \"many\"",
             file + ":4: workers already stands in line 3", file + ":5: state needs a value (DIR)",
             file + ":6: \"address 1.2.3.4\" is no setting with a value; write it as NAME = "
                    "VALUE",
             file + ":7: there is no setting \"help\"; platend --help tells the options",
             file + ":8: request-time takes a number from 1 to 3600, not \"0\""}));
}

TEST(PlatendConf, ThatCannotBeReadIsNamed) {
  TemporaryDirectory directory;
  Options options;
  EXPECT_EQ(read_configuration(directory.path() + "/none", &options),
            Lines{directory.path() + "/none: cannot be read: No such file or directory"});
  EXPECT_EQ(read_configuration(directory.path(), &options),
            Lines{directory.path() + ": cannot be read: Is a directory"});
}

TEST(PlatendConf, GivesWayToTheCommandLine) {
  TemporaryDirectory directory;
  const std::string file = directory.write("c", "port = 1\nworkers = 7\n");
  Options options = parsed({"--config", file, "--port", "8080"});
  EXPECT_EQ(complete_options(&options), Lines{});
  EXPECT_EQ(options.port, 8080);
  EXPECT_EQ(options.workers, 7);
  EXPECT_EQ(options.config, file);
}

TEST(PlatendConf, IsLookedForWithTheSettings) {
  TemporaryDirectory directory;
  Options options = parsed({"--settings", directory.path()});
  EXPECT_EQ(complete_options(&options), Lines{});
  EXPECT_EQ(options.config, "");
  const std::string file = directory.write("platend.conf", "workers = 7\n");
  EXPECT_EQ(complete_options(&options), Lines{});
  EXPECT_EQ(options.workers, 7);
  EXPECT_EQ(options.config, file);
}

TEST(PlatendConf, LeavesTheDataDirectoryOutInsideTheSandbox) {
  TemporaryDirectory directory;
  const std::string file = directory.write("c", "data = d\n");
  Options options = parsed({"--config", file});
  EXPECT_EQ(complete_options(&options), Lines{});
  EXPECT_EQ(options.data, directory.path() + "/d");
  EXPECT_EQ(options.settings, directory.path() + "/d/etc");
  options = parsed({"--config", file, "--sandboxed"});
  EXPECT_EQ(complete_options(&options), Lines{});
  EXPECT_EQ(options.data, "");
}

TEST(PlatendConf, ThatContradictsTheCommandLineIsRefused) {
  TemporaryDirectory directory;
  Options options = parsed({"--config", directory.write("c", "fastcgi = s\n"), "--port", "1"});
  EXPECT_EQ(complete_options(&options),
            Lines{"--fastcgi starts no web server, so it goes with neither --port nor --address"});
  EXPECT_EQ(options.fastcgi, "");
}

// The file that is installed shows each setting, commented out, with its default where it has one.
TEST(PlatendConf, IsInstalledWithEverySettingAndItsDefault) {
  std::ifstream installed(PLATEN_CONF);
  std::set<std::string> names;
  Options options;
  const std::regex setting("#([a-z-]+) = (.+)");
  std::smatch match;
  for (std::string line; std::getline(installed, line);) {
    EXPECT_TRUE(line.empty() || line.starts_with('#')) << line;
    if (!std::regex_match(line, match, setting)) continue;
    EXPECT_TRUE(names.insert(match[1]).second) << line;
    EXPECT_EQ(set_option(match[1].str(), match[2], "/", &options), "");
  }
  const Lines all = setting_names();
  EXPECT_EQ(names, std::set<std::string>(all.begin(), all.end()));
  const Options defaults;
  EXPECT_EQ(options.address, defaults.address);
  EXPECT_EQ(options.port, defaults.port);
  EXPECT_EQ(options.redirect_port, defaults.redirect_port);
  EXPECT_EQ(options.workers, defaults.workers);
  EXPECT_EQ(options.worker_requests, defaults.worker_requests);
  EXPECT_EQ(options.request_time, defaults.request_time);
  EXPECT_EQ(options.log_level, defaults.log_level);
  Options none;
  EXPECT_EQ(fill_defaults(&none), "");
  EXPECT_EQ(options.settings, none.settings);
  EXPECT_EQ(options.state, none.state);
}

}  // namespace
}  // namespace platen
