// Tests of pages in PHP: what the module prints stays data, and faults cost their page only.
// SPDX-License-Identifier: MIT
#include "php_runtime.h"

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdlib>
#include <random>
#include <string>

#include "output_format.h"
#include "platform/log.h"
#include "platform/server.h"
#include "request_record.h"

namespace platen {
namespace {

std::vector<std::string>& log_lines() {
  static std::vector<std::string> lines;
  return lines;
}

class PhpTest : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    static const bool started = start_php();
    ASSERT_TRUE(started);
  }
  void SetUp() override { log_lines().clear(); }
};

std::string output_of(const std::string& text, const std::string& query = "") {
  const PhpResult result = run_php("dir/page.php", text, query);
  EXPECT_EQ(result.fault, "") << text;
  return result.output;
}

std::string fault_of(const std::string& text) {
  const PhpResult result = run_php("dir/page.php", text, "");
  EXPECT_EQ(result.output, "") << text;
  return result.fault;
}

// What a function prints as PHP.
template <typename Print>
std::string printed(const char* function, Print print) {
  char* text = nullptr;
  size_t size = 0;
  RequestRecord record({}, "");
  TagOutput tag(*find_parser_function(function), Format::php);
  record.tag = &tag;
  record.outfs = ::open_memstream(&text, &size);
  print(&record);
  std::fclose(record.outfs);
  std::string out(text, size);
  std::free(text);
  EXPECT_EQ(tag.fault(), "");
  return out;
}

std::string folder_row(const std::string& file, const std::string& sid) {
  return printed("HTTP_Parser_Mailbox_List_fn", [&](QVN_AppData* udata) {
    adiprintf(udata, "$%s->AddFolderToList( new %s( \"%s\", %s, \"%s\" ));\n", "gFolderList",
              "FolderInfo", file.c_str(), "true", sid.c_str());
  });
}

std::string job_row(const std::string& job, const std::string& password) {
  return printed("HTTP_Parser_Folder_Passwords_List_fn", [&](QVN_AppData* udata) {
    adiprintf(udata, "\t$%s['%s']\t= '%s';\n", "gJobPasswords", job.c_str(), password.c_str());
  });
}

// A page that prints back, in hexadecimal, all values that its statements and literals hold.
std::string echoing_page(const std::string& statements, const std::string& literal) {
  return "<?php class FolderInfo { function __construct(public $a, public $b, public $c) {} }\n"
         "class L { function AddFolderToList($f) { echo bin2hex($f->a), ' ', $f->b === true, ' ',"
         " bin2hex($f->c), \"\\n\"; } }\n$gFolderList = new L; $gJobPasswords = [];\n" +
         statements +
         "foreach ($gJobPasswords as $k => $v) echo bin2hex($k), ' ', bin2hex($v),"
         " \"\\n\"; echo bin2hex(" +
         literal + ");";
}

std::string hex(const std::string& text) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string out;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    out += {kDigits[byte >> 4], kDigits[byte & 15]};
  }
  return out;
}

// The value in every place, each with something behind it that would show a statement cut short.
void expect_data(const std::string& value) {
  const std::string page =
      echoing_page(folder_row(value, value) + job_row("k" + value, value), php_literal(value));
  EXPECT_EQ(output_of(page), hex(value) + " 1 " + hex(value) + "\n" + hex("k" + value) + " " +
                                 hex(value) + "\n" + hex(value))
      << page;
}

TEST_F(PhpTest, KeepsEveryByteAsDataInEveryPlace) {
  std::string all;
  for (int byte = 1; byte < 256; ++byte) {
    const char c = static_cast<char>(byte);
    all += c;
    expect_data(std::string(1, c));
    expect_data(std::string("a") + c);
    expect_data(std::string("\\") + c);
    expect_data(std::string(1, c) + "\\");
  }
  expect_data(all);
}

TEST_F(PhpTest, KeepsWhatLooksLikeCodeAsData) {
  for (const char* value : {"",
                            "\\",
                            "'",
                            "\"",
                            "$a",
                            "${a}",
                            "{$a}",
                            "{$a['b']}",
                            "\\\\'",
                            "\\\\\"",
                            "\\$a",
                            "?>",
                            "<?php echo 1 ?>",
                            "*/",
                            "'; phpinfo(); //",
                            "\"; exit; //",
                            "\n",
                            "\r\n",
                            "\\n",
                            "\\x41",
                            "\\u{41}",
                            "\\101",
                            "<!--#reason-->",
                            "A\nA;",
                            "\xFF\xFE",
                            "${\\'a\\'}"}) {
    expect_data(value);
  }
}

// PLATEN_RANDOM_VALUES: how many; a fixed slice of the same series otherwise.
TEST_F(PhpTest, KeepsRandomValuesAsData) {
  const char* wanted = std::getenv("PLATEN_RANDOM_VALUES");
  const int count = wanted == nullptr ? 20000 : std::atoi(wanted);
  constexpr std::string_view kSigns = "'\"\\$`{}()[];<>?/*#\n\r \t=-a0_\x80\xFF";
  std::mt19937 random(20261121);
  std::string statements;
  std::string expected;
  for (int i = 1; i <= count; ++i) {
    std::string value;
    for (auto length = random() % 12; length > 0; --length) {
      value += random() % 4 == 0 ? static_cast<char>(1 + random() % 255)
                                 : kSigns[random() % kSigns.size()];
    }
    statements += folder_row(value, value);
    expected += hex(value) + " 1 " + hex(value) + "\n";
    if (i % 1000 != 0 && i != count) continue;
    ASSERT_EQ(output_of(echoing_page(statements, "''")), expected);
    statements.clear();
    expected.clear();
  }
}

TEST_F(PhpTest, GivesThePageItsQuery) {
  EXPECT_EQ(output_of("<?php echo json_encode($_GET), json_encode([$_POST, $_COOKIE, $_FILES]);",
                      "name=a%26b%20c&subf="),
            "{\"name\":\"a&b c\",\"subf\":\"\"}[[],[],[]]");
}

TEST_F(PhpTest, StartsEachPageAfresh) {
  EXPECT_EQ(output_of("<?php $a = 1; function f() {} define('C', 1); echo $a;"), "1");
  EXPECT_EQ(output_of("<?php function f() {} echo isset($a) ? 1 : 0, defined('C') ? 1 : 0;"), "00");
}

TEST_F(PhpTest, TellsTheFaultOfAPageAndShowsNothingOfIt) {
  const std::string place = "dir/page.php line ";
  const std::pair<std::string, std::string> rows[] = {
      {"shown <?php\n echo 'shown'; nothing();",
       place + "2: Uncaught Error: Call to undefined function nothing() in"},
      {"shown <?php if", place + "1: syntax error, unexpected end of file"},
      {"<?php $a = ''; while (true) $a .= str_repeat('x', 1 << 20);",
       place + "1: Allowed memory size of 33554432 bytes exhausted"},
      {"<?php while (true) echo str_repeat('x', 1 << 20);",
       "dir/page.php: the page prints more than 16 MiB"},
      {"shown <?php while (true);", place + "1: Maximum execution time of 2 seconds exceeded"},
      {"<?php trigger_error('mine', E_USER_ERROR);", place + "1: mine"},
  };
  for (const auto& [text, fault] : rows) {
    EXPECT_EQ(fault_of(text).substr(0, fault.size()), fault) << text;
    EXPECT_EQ(output_of("<?= 'the next page' ?>"), "the next page");
  }
}

TEST_F(PhpTest, JudgesAPageByItsDestructorsToo) {
  EXPECT_NE(fault_of("<?php class A { function __destruct() { nothing(); } } $a = new A; echo 1;"),
            "");
}

TEST_F(PhpTest, LogsWarningsAndGoesOn) {
  EXPECT_EQ(output_of("a<?php echo $b; ?>c"), "ac");
  EXPECT_EQ(log_lines(), std::vector<std::string>{"5 dir/page.php line 1: Undefined variable $b"});
}

TEST_F(PhpTest, HasNoFilesProgramsOrSettings) {
  for (const char* function : {"fopen",
                               "file_get_contents",
                               "readfile",
                               "unlink",
                               "glob",
                               "opendir",
                               "exec",
                               "shell_exec",
                               "system",
                               "proc_open",
                               "popen",
                               "mail",
                               "fsockopen",
                               "stream_socket_client",
                               "dl",
                               "putenv",
                               "getenv",
                               "ini_set",
                               "set_time_limit",
                               "header",
                               "setcookie",
                               "phpinfo",
                               "pcntl_fork",
                               "openssl_pkey_new",
                               "session_start",
                               "register_shutdown_function",
                               "sleep",
                               "stream_wrapper_restore",
                               "error_log",
                               "highlight_file",
                               "parse_ini_file",
                               "tempnam"}) {
    EXPECT_EQ(output_of(std::string("<?= function_exists('") + function + "') ? 1 : 0 ?>"), "0")
        << function;
  }
  for (const char* kept : {"htmlspecialchars", "json_decode", "rawurlencode", "preg_match",
                           "sprintf", "array_map", "usort", "date", "hash_equals"}) {
    EXPECT_EQ(output_of(std::string("<?= function_exists('") + kept + "') ? 1 : 0 ?>"), "1")
        << kept;
  }
  EXPECT_EQ(output_of("<?php echo @include '/etc/passwd'; echo @include 'php://input';"
                      " echo @include 'data:text/plain,<?php echo 7;';"),
            "");
  EXPECT_EQ(output_of("<?php try { new SplFileObject('/etc/passwd'); } catch (Error $e) {}"), "");
}

TEST(PhpStatement, LetsOnlyNamesAndNumbersStandOutsideQuotes) {
  PhpStatement statement;
  statement.pass("$a->b( new ");
  for (const char* good : {"a", "_", "gFolderList", "true", "A1_", "0", "12", "-3", "4.5"}) {
    EXPECT_EQ(statement.value(good), good) << good;
  }
  for (const char* bad : {"", " ", "a b", "a;", "1a", "-", "1.", ".5", "--1", "a'", "\\A",
                          "\xC3\xA4", "$a", "a\n", "1e5", "0x1"}) {
    EXPECT_EQ(statement.value(bad), std::nullopt) << bad;
  }
}

TEST(PhpStatement, FollowsTheQuotesOfThePrint) {
  PhpStatement statement;
  EXPECT_EQ(statement.pass("f(\"it's "), "f(\"it's ");
  EXPECT_EQ(statement.value("a'b\"c$d\\e"), "a'b\\\"c\\$d\\\\e");
  statement.pass("\", '\"");
  EXPECT_EQ(statement.value("a'b\"c$d\\e"), "a\\'b\"c$d\\\\e");
  statement.pass("' ");
  EXPECT_EQ(statement.value("a'b"), std::nullopt);
}

TEST(Adiprintf, RefusesAValueThatIsNoNameOutsideQuotesOfPhp) {
  RequestRecord record({}, "");
  TagOutput tag(*find_parser_function("HTTP_Parser_Mailbox_List_fn"), Format::php);
  record.tag = &tag;
  char text[16];
  record.outfs = ::fmemopen(text, sizeof text, "w");
  EXPECT_EQ(adiprintf(&record, "$%s->AddFolderToList( new %s( \"%s\", %s, \"%s\" ));\n",
                      "gFolderList", "FolderInfo", "a", "1);exit(", "T"),
            -1);
  std::fclose(record.outfs);
  EXPECT_EQ(
      tag.fault(),
      "HTTP_Parser_Mailbox_List_fn printed \"1);exit(\" as PHP, which outside quotes may be a "
      "name or a number only");
}

}  // namespace
}  // namespace platen

void Log_Entry(int level, const char* /*source*/, int /*line*/, const char* format, ...) {
  char text[1024];
  va_list values;
  va_start(values, format);
  std::vsnprintf(text, sizeof text, format, values);
  va_end(values);
  platen::log_lines().push_back(std::to_string(level) + " " + text);
}
