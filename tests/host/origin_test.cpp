// Tests of where a form may come from, and of reading cookies.
// SPDX-License-Identifier: MIT
#include "origin.h"

#include <gtest/gtest.h>

#include "cookies.h"

namespace platen {
namespace {

bool is_refused(const std::string& host, const std::string& origin, const std::string& referer,
                bool secure = false) {
  Request request;
  request.host = host;
  request.origin = origin;
  request.referer = referer;
  request.secure = secure;
  return !refuse_origin(request).empty();
}

TEST(Origin, IsThisServerItself) {
  EXPECT_FALSE(is_refused("a:80", "http://a:80", ""));
  EXPECT_FALSE(is_refused("a", "HTTP://A", ""));
  EXPECT_FALSE(is_refused("a", "", "http://a/page?x=http://b/"));
  EXPECT_FALSE(is_refused("a", "", "http://a"));
  EXPECT_FALSE(is_refused("a", "https://a", "https://a/", true));
}

TEST(Origin, IsNobodyElse) {
  EXPECT_TRUE(is_refused("", "http://", ""));
  EXPECT_TRUE(is_refused("a", "", ""));
  EXPECT_TRUE(is_refused("a", "null", ""));
  EXPECT_TRUE(is_refused("a", "https://a", ""));
  EXPECT_TRUE(is_refused("a", "http://a", "", true));
  EXPECT_TRUE(is_refused("a", "http://a:81", ""));
  EXPECT_TRUE(is_refused("a", "http://ab", ""));
  EXPECT_TRUE(is_refused("a", "http://a", "http://b/"));
  EXPECT_TRUE(is_refused("a", "http://b", "http://a/"));
  EXPECT_TRUE(is_refused("a", "", "http://a.b/"));
  EXPECT_TRUE(is_refused("a", "", "a/"));
}

TEST(Cookies, AreFoundByTheirWholeName) {
  const std::vector<std::string_view> expected = {"1", "", "3=4"};
  EXPECT_EQ(cookies_named("x=1; xx=2;x= ;\tx=3=4 ; x; y=5", "x"), expected);
  EXPECT_TRUE(cookies_named("", "x").empty());
  EXPECT_TRUE(cookies_named(";;=", "x").empty());
}

}  // namespace
}  // namespace platen
