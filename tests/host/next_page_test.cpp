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

}  // namespace
}  // namespace platen
