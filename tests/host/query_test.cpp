// Percent-decoding of paths and queries.
// SPDX-License-Identifier: MIT
#include "query.h"

#include <gtest/gtest.h>

namespace platen {
namespace {

using Fields = std::vector<Field>;

TEST(Query, IsDecodedInOrderWithRepeats) {
  const struct {
    std::string_view encoded;
    Fields fields;
  } rows[] = {
      {"", {}},
      {"&&", {}},
      {"a=1&b=2&a=3", {{"a", "1"}, {"b", "2"}, {"a", "3"}}},
      {"a", {{"a", ""}}},
      {"=x", {{"", "x"}}},
      {"a=b=c", {{"a", "b=c"}}},
      {"a+b=c+d%2B", {{"a b", "c d+"}}},
      {"%41%6a=%6A%0a%FF", {{"Aj", "j\n\xff"}}},
      {"a=%26%3D&b", {{"a", "&="}, {"b", ""}}},
  };
  for (const auto& row : rows) {
    Fields fields;
    std::string error;
    EXPECT_TRUE(decode_query(row.encoded, &fields, &error)) << row.encoded << ": " << error;
    EXPECT_EQ(fields, row.fields) << row.encoded;
  }
}

TEST(Query, IsRefusedWithTheFieldThatIsBroken) {
  const struct {
    std::string_view encoded;
    std::string_view fault;
  } rows[] = {
      {"a=%", "The field \"a\" holds the broken escape \"%\"."},
      {"a=%4", "The field \"a\" holds the broken escape \"%4\"."},
      {"a=1&b=%4g1", "The field \"b\" holds the broken escape \"%4g\"."},
      {"a=x%00y", "The field \"a\" holds a NUL byte."},
      {"%zz=1", "The name of a field, \"%zz\", holds the broken escape \"%zz\"."},
      {"%00=1", "The name of a field, \"%00\", holds a NUL byte."},
  };
  for (const auto& row : rows) {
    Fields fields;
    std::string error;
    EXPECT_FALSE(decode_query(row.encoded, &fields, &error)) << row.encoded;
    EXPECT_EQ(error, row.fault);
  }
}

TEST(Path, KeepsThePlusAndDecodesTheRest) {
  std::string path;
  std::string error;
  EXPECT_TRUE(decode_path("/a+b%20c%2fd", &path, &error));
  EXPECT_EQ(path, "/a+b c/d");
}

TEST(Path, IsRefusedWhenItIsNone) {
  std::string path;
  std::string error;
  EXPECT_FALSE(decode_path("", &path, &error));
  EXPECT_EQ(error, "The path does not begin with \"/\".");
  EXPECT_FALSE(decode_path("/%00", &path, &error));
  EXPECT_EQ(error, "The path holds a NUL byte.");
  EXPECT_FALSE(decode_path("/%", &path, &error));
  EXPECT_EQ(error, "The path holds the broken escape \"%\".");
}

}  // namespace
}  // namespace platen
