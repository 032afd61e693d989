// The parts of the process layer that can be judged without processes.
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>

#include "error_page.h"
#include "fastcgi_response.h"
#include "front.h"
#include "sandbox.h"
#include "supervisor.h"

namespace platen {
namespace {

TEST(RateLimit, LetsFiftyPassInAnySecond) {
  RateLimit limit;
  for (int i = 0; i < 50; ++i) {
    EXPECT_TRUE(limit.allows(1000 + i * 10));
  }
  EXPECT_FALSE(limit.allows(1999));
  EXPECT_TRUE(limit.allows(2000));
  EXPECT_FALSE(limit.allows(2009));
  EXPECT_TRUE(limit.allows(2010));
}

TEST(FrontLimits, StayBelowTheBacklogAndHalfTheDescriptors) {
  EXPECT_EQ(front_limits(1000000, 65535).connections, 4000);
  EXPECT_EQ(front_limits(1000000, 65535).descriptors, 8192);
  EXPECT_EQ(front_limits(1000000, 128).connections, 64);
  EXPECT_EQ(front_limits(1024, 65535).connections, 512);
  EXPECT_EQ(front_limits(1024, 65535).descriptors, 1024);
}

TEST(FrontConfiguration, WaitsLongerThanTheWorkers) {
  const std::string text = front_configuration({8192, 4000}, 30);
  EXPECT_NE(text.find("\"read-timeout\" => 40\n"), std::string::npos);
  EXPECT_NE(text.find("server.max-connections = 4000\n"), std::string::npos);
}

TEST(TlsConfiguration, LeadsPlainHttpToThePortOfTheOther) {
  const std::string text = tls_configuration("8443", "[::1]:8080");
  EXPECT_NE(text.find("$SERVER[\"socket\"] == \"[::1]:8080\" { ssl.engine = \"disable\"\n"),
            std::string::npos);
  EXPECT_NE(text.find("\"https://%1:8443${url.path}${qsa}\""), std::string::npos);
  EXPECT_EQ(tls_configuration("8443", "").find("$SERVER"), std::string::npos);
}

TEST(MonitorConfiguration, MarksTheRequestsOfItsSocketAlone) {
  EXPECT_EQ(monitor_configuration("127.0.0.1:9100", false),
            "$SERVER[\"socket\"] == \"127.0.0.1:9100\" {\n"
            "  setenv.add-environment = ( \"PLATEN_MONITOR\" => \"yes\" )\n}\n");
  EXPECT_NE(monitor_configuration("[::1]:9100", true).find("  ssl.engine = \"disable\"\n"),
            std::string::npos);
}

TEST(CgiText, HoldsStatusLengthHeadersAndBody) {
  Response response;
  response.status = 404;
  response.body = "gone";
  response.headers = {{"X-Extra", "1"}};
  const std::string text = cgi_text(response);
  EXPECT_TRUE(
      text.starts_with("Status: 404 Not Found\r\nContent-Type: text/html; charset=utf-8\r\n"
                       "Content-Length: 4\r\nContent-Security-Policy: default-src 'none'; "));
  EXPECT_TRUE(text.ends_with("\r\nX-Extra: 1\r\n\r\ngone"));
  EXPECT_TRUE(cgi_text(response, Body::omitted).ends_with("\r\nX-Extra: 1\r\n\r\n"));
}

TEST(FastcgiAnswer, IsThreeRecordsOfOneRequest) {
  std::string answer = fastcgi_answer("text");
  set_request_id(&answer, 0x1234);
  const std::string id = "\x12\x34";
  const auto bytes = [](std::initializer_list<char> list) { return std::string(list); };
  EXPECT_EQ(answer, bytes({1, 6}) + id + bytes({0, 4, 0, 0}) + "text" +  // output
                        bytes({1, 6}) + id + bytes({0, 0, 0, 0}) +       // its end
                        bytes({1, 3}) + id + bytes({0, 8, 0, 0}) + std::string(8, '\0'));
}

TEST(ErrorPage, EscapesWhatItEchoes) {
  const Response response = error_response(400, "<b>&\"", "");
  EXPECT_EQ(response.status, 400);
  EXPECT_NE(response.body.find("<p>&lt;b&gt;&amp;\"</p>"), std::string::npos);
}

TEST(ErrorPage, ExistsForWhatTheWebServerAnswersItself) {
  const auto statuses = error_statuses();
  for (const int status : {400, 403, 404, 408, 413, 431, 500, 503, 504}) {
    EXPECT_TRUE(std::ranges::count(statuses, status) == 1) << status;
    EXPECT_NE(error_response(status).body.find(status_name(status)), std::string::npos);
  }
}

TEST(Sandbox, RefusesADataDirectoryThatHoldsADevicePath) {
  std::string error;
  EXPECT_FALSE(prepare_data("/tmp", &error));
  EXPECT_EQ(error,
            "the data directory /tmp overlaps with the device's path /tmp/template/pool; choose "
            "another");
  EXPECT_FALSE(prepare_data("/", &error));
}

TEST(Sandbox, BindsTheDataAfterTheFreshDirectories) {
  const auto arguments =
      sandbox_arguments("/tmp/d", {"/bin/true", {"--x"}, {"/tmp/m.so"}, {"/tmp/s"}, {3}});
  const auto at = [&](const std::vector<std::string>& part) {
    const auto found = std::search(arguments.begin(), arguments.end(), part.begin(), part.end());
    EXPECT_NE(found, arguments.end()) << part.front() << " " << part.back();
    return found - arguments.begin();
  };
  EXPECT_LT(at({"--dir", "/tmp"}), at({"--ro-bind-try", "/tmp/m.so", "/tmp/m.so"}));
  EXPECT_LT(at({"--dir", "/tmp"}), at({"--bind", "/tmp/d", "/tmp/d"}));
  EXPECT_LT(at({"--bind", "/tmp/d", "/tmp/d"}),
            at({"--bind", "/tmp/d/pool", "/tmp/template/pool"}));
  EXPECT_LT(at({"--bind", "/tmp/d/tarn", "/tarn/template/pool"}),
            at({"--bind", "/tmp/d/spool", "/var/spool/nc"}));
  EXPECT_EQ(at({"--", "/bin/true", "--x"}), static_cast<long>(arguments.size()) - 3);
  EXPECT_EQ(std::ranges::count(arguments, "/var"), 1);
}

}  // namespace
}  // namespace platen
