// Tests of telling PHP from HTML, and code from strings and comments.
// SPDX-License-Identifier: MIT
#include "php_code.h"

#include <gtest/gtest.h>

#include <string>

namespace platen {
namespace {

std::vector<std::string> texts(const std::string& page, const std::vector<PhpPart>& parts) {
  std::vector<std::string> out;
  for (const PhpPart& part : parts) out.push_back(page.substr(part.begin, part.end - part.begin));
  return out;
}

TEST(PhpCode, BeginsAndEndsWherePhpSaysSo) {
  const std::pair<std::string, std::vector<std::string>> rows[] = {
      {"", {}},
      {"no php", {}},
      {"a<?php b ?>c", {"<?php b ?>"}},
      {"a<?= b ?>c<?PHP\nd", {"<?= b ?>", "<?PHP\nd"}},
      {"<?php", {"<?php"}},
      {"<?phpx ?><?xml ?><? a ?>", {}},
      {"<?php '?>' ?>x", {"<?php '?>' ?>"}},
      {"<?php // '?>x' ?>", {"<?php // '?>"}},
      {"<?php # \" ?>x", {"<?php # \" ?>"}},
      {"<?php /* ?> */ ?>x", {"<?php /* ?> */ ?>"}},
      {"<?php #[Attribute('a')] ?>x", {"<?php #[Attribute('a')] ?>"}},
  };
  for (const auto& [page, segments] : rows) {
    const PhpCode php = find_php_code(page);
    EXPECT_EQ(texts(page, php.segments), segments) << page;
    EXPECT_FALSE(php.unclosed) << page;
  }
}

// Each row: the code, and what of it is quoted.
TEST(PhpCode, HasStringsHeredocsAndComments) {
  const std::pair<std::string, std::vector<std::string>> rows[] = {
      {"$a = 'b\\'c' . \"d\\\"e\";", {"'b\\'c'", "\"d\\\"e\""}},
      {"`ls`;", {"`ls`"}},
      {"a(); // 'b\n c('d');", {"// 'b", "'d'"}},
      {"a(); # \"b\r c('d');", {"# \"b", "'d'"}},
      {"/* ' */ 'b'", {"/* ' */", "'b'"}},
      {"\"a {$b['c']} d\" . $e", {"'c'", "\"a {$b['c']} d\""}},
      {"\"a {$b[\"c\"]} d\" . $e", {"\"c\"", "\"a {$b[\"c\"]} d\""}},
      {"\"${b} {\" . $e", {"\"${b} {\""}},
      {"<<<A\nb 'c\nA;\n'd'", {"<<<A\nb 'c\nA", "'d'"}},
      {"<<<\"A\"\nb {$c['d']}\n  A . 'd'", {"'d'", "<<<\"A\"\nb {$c['d']}\n  A", "'d'"}},
      {"<<< 'A'\nb {$c['\n\nA;", {"<<< 'A'\nb {$c['\n\nA"}},
      {"<<<A\nAB\nA", {"<<<A\nAB\nA"}},
      {"$a <<< 3", {}},
      {"1 << 2 . 'a'", {"'a'"}},
  };
  for (const auto& [code, quoted] : rows) {
    const std::string page = "<?php " + code;
    const PhpCode php = find_php_code(page);
    EXPECT_EQ(texts(page, php.quoted), quoted) << code;
    EXPECT_FALSE(php.unclosed) << code;
  }
}

TEST(PhpCode, TellsWhatIsNotClosed) {
  const std::pair<std::string, size_t> rows[] = {
      {"'a", 7}, {"'a\\'", 7},   {"\"a", 7},     {"\"a {$b", 10},    {"\"{$b['c", 12},
      {"`a", 7}, {"/* a ?>", 7}, {"<<<A\nb", 7}, {"<<<'A'\n{$b", 7}, {"<<<A\nb {$c\nA", 14},
  };
  for (const auto& [code, begin] : rows) {
    const std::string page = "x<?php " + code;
    const PhpCode php = find_php_code(page);
    ASSERT_TRUE(php.unclosed) << code;
    EXPECT_EQ(*php.unclosed, begin) << code;
    EXPECT_EQ(php.segments.size(), 1U) << code;
  }
}

}  // namespace
}  // namespace platen
