// Tests of addresses that a browser is sent on to.
// SPDX-License-Identifier: MIT
#include "next_page.h"

#include <gtest/gtest.h>

namespace platen {
namespace {

TEST(NextPage, IsAPathOfThisServer) {
  struct Row {
    std::string address;
    bool local;
  };
  const Row rows[] = {
      {"/", true},
      {"/template.html?ParserFilename=/tmp/a%20b&x=y#top", true},
      {"/a b", true},
      {"/\xC3\xA9", true},
      {"", false},
      {"index.html", false},
      {"//example.org/", false},
      {"/a//b", false},
      {"/\\example.org", false},
      {"\\\\example.org", false},
      {"https://example.org/", false},
      {"javascript:alert(1)", false},
      {" /", false},
      {"/\t/example.org", false},
      {"/a\r\nSet-Cookie: x", false},
      {std::string("/a\0b", 4), false},
      {"/a\x7F", false},
  };
  for (const Row& row : rows) EXPECT_EQ(is_local_path(row.address), row.local) << row.address;
}

TEST(NextPage, EncodesEveryByteButThePlainOnes) {
  EXPECT_EQ(encode_address("/mailbox/a-b._~.php?name=x&pass=1"),
            "/mailbox/a-b._~.php?name=x&pass=1");
  const std::string plain =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~/?&=";
  for (int byte = 0; byte < 256; ++byte) {
    const char c = static_cast<char>(byte);
    char escape[4];
    std::snprintf(escape, sizeof escape, "%%%02X", static_cast<unsigned>(byte));
    const bool is_plain = plain.find(c) != std::string::npos;
    EXPECT_EQ(encode_address(std::string(1, c)), is_plain ? std::string(1, c) : escape) << byte;
  }
}

TEST(NextPage, IsTheAddressOfAPageWithItsFields) {
  EXPECT_EQ(page_address("/a b.html", {}), "/a%20b.html");
  EXPECT_EQ(page_address("/a.html", {{"x", "/p//q&r=\xC3\xA9"}, {"x", ""}, {"?", "%41+"}}),
            "/a.html?x=%2Fp%2F%2Fq%26r%3D%C3%A9&x=&%3F=%2541%2B");
}

TEST(NextPage, IsMadeFitForAHeaderWithoutEncodingTwice) {
  EXPECT_EQ(header_address("/a%20b?x=/p&q#t"), "/a%20b?x=/p&q#t");
  EXPECT_EQ(header_address("/a b\xC3\xA9\x7F"), "/a%20b%C3%A9%7F");
}

}  // namespace
}  // namespace platen
