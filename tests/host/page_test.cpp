// Tests of reading pages: includes, tags, the places of output, and when a page is read again.
// SPDX-License-Identifier: MIT
#include "page.h"

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "page_fixture.h"

namespace platen {
namespace {

const std::string kGet = R"(<!--#parser fn="HTTP_Parser_Get_fn" arg="s i a t" format="html"-->)";
const std::string kGetJs = R"(<!--#parser fn="HTTP_Parser_Get_fn" arg="s i a t" format="js"-->)";
const std::string kGetJson =
    R"(<!--#parser fn="HTTP_Parser_Get_fn" arg="s i a t" format="json"-->)";
const std::string kClose = R"(<!--#parser fn="HTTP_Close_Parser_fn" arg="FALSE"-->)";
const std::string kOpen = R"(<!--#parser fn="HTTP_Open_Parser_fn"-->)";
const std::string kListNonWia = R"(<!--#parser fn="HTTP_Parser_List_Non_WIA_fn" format="json"-->)";

const std::string kHtmlAdvice =
    "; put it into text, or into a double-quoted attribute that holds no address, style, script or "
    "event";
const std::string kJsAdvice = "; put it into a script page, alone between two equal quotes";
const std::string kJsonAdvice =
    "; put it into a <script type=\"application/json\"> block, as a value of its own";
const std::string kNoScript =
    "a page has no inline script; put it into a script file and name it with src";

class PageTest : public PageFixture {
 protected:
  std::vector<std::string> faults(const std::string& name) const {
    std::vector<std::string> out;
    for (const Fault& fault : load_page(pages_, name).faults) out.push_back(fault_text(fault));
    return out;
  }

  std::vector<std::string> faults_of(const std::string& name, const std::string& text) const {
    write(name, text);
    return faults(name);
  }

  using Rows = std::vector<std::pair<std::string, std::string>>;

  // Each row is the text of a page and its one fault; "" = none.
  void expect_faults(const std::string& name, const Rows& rows) const {
    for (const auto& [text, fault] : rows) {
      const std::vector<std::string> expected =
          fault.empty() ? std::vector<std::string>{} : std::vector<std::string>{fault};
      EXPECT_EQ(faults_of(name, text), expected) << text;
    }
  }
};

TEST_F(PageTest, RefusesTagsThatItCannotUnderstand) {
  expect_faults("p.html",
                {
                    {"<!--#reason-->", ""},
                    {"x\n <!--#Reason-->",
                     "p.html:2:2: unknown tag \"Reason\"; the tags are parser, include, reason, "
                     "phrase, template, token, languages, login, posted, page, audit, status, "
                     "notice, accounts, jobs, "
                     "mailbox, session, difference, versions, factory, deleted, clone or upload"},
                    {"<!--#parser-->", "p.html:1:1: the tag parser needs the attribute fn"},
                    {"<!--#parser fn=\"\"-->", "p.html:1:1: the tag parser needs the attribute fn"},
                    {"<!--#phrase-->", "p.html:1:1: the tag phrase needs the attribute id"},
                    {"<!--#include-->", "p.html:1:1: the tag include needs the attribute file"},
                    {"<!--#phrase id=\"1\" arg=\"x\"-->",
                     "p.html:1:1: unknown attribute arg in the tag phrase; it takes id or format"},
                    {"<!--#parser fn=\"HTTP_Parser_Nothing_fn\"-->",
                     "p.html:1:1: unknown parser function \"HTTP_Parser_Nothing_fn\""},
                    {"<!--#parser fn=\"HTTP_Parser_Set_fn\"-->",
                     "p.html:1:1: HTTP_Parser_Set_fn is a form handler; a form posts to it, a tag "
                     "cannot call it"},
                    {"a<!--#reason\n-",
                     "p.html:2:1: the tag reason takes attributes such as "
                     "name=\"value\", with a blank before each, and ends with "
                     "\"-->\""},
                });
}

TEST_F(PageTest, RefusesFormatsThatAFunctionDoesNotHave) {
  expect_faults(
      "p.html",
      {
          {"<!--#parser fn=\"HTTP_Parser_Get_fn\"-->",
           "p.html:1:1: HTTP_Parser_Get_fn needs a format: \"html\", \"js\" or \"json\""},
          {"<!--#parser fn=\"HTTP_Parser_Get_fn\" format=\"text\"-->",
           "p.html:1:1: HTTP_Parser_Get_fn has no format \"text\"; it has \"html\", \"js\" or "
           "\"json\""},
          {"<!--#parser fn=\"HTTP_Parser_JS_Get_fn\" format=\"html\"-->",
           "p.html:1:1: HTTP_Parser_JS_Get_fn has no format \"html\", as its values are escaped "
           "for scripts; it has \"js\" or \"json\""},
          {"<!--#parser fn=\"HTTP_Parser_List_fn\" format=\"html\"-->",
           "p.html:1:1: HTTP_Parser_List_fn has no format \"html\", as its values are escaped for "
           "scripts; it has \"js\" or \"json\""},
          {"<!--#parser fn=\"HTTP_Open_Parser_fn\" format=\"html\"-->",
           "p.html:1:1: HTTP_Open_Parser_fn prints nothing and takes no format"},
          {"<!--#parser fn=\"HTTP_Close_Parser_fn\" format=\"json\"-->",
           "p.html:1:1: HTTP_Close_Parser_fn has no format \"json\"; it has \"html\""},
          {"<!--#template format=\"html\"-->",
           "p.html:1:1: the tag template has no format \"html\"; it has \"json\" or \"php\""},
          {kClose + kOpen, ""},
      });
}

TEST_F(PageTest, LetsHtmlStandInTextAndDoubleQuotedAttributes) {
  expect_faults("p.html", {
                              {"<p>" + kGet + "</p>", ""},
                              {kGet, ""},
                              {"<title>" + kGet + "</title>", ""},
                              {"<input value=\"" + kGet + "\">", ""},
                              {"<input value=\"a " + kGet + " b " + kGet + "\">", ""},
                              {"<p data-x=\"" + kGet + "\">", ""},
                              {"<textarea>\n" + kGet + "</textarea>", ""},
                              {"<textarea> " + kGet + "</textarea>", ""},
                              {"<table><tr>" + kGet + "</table>", ""},
                              {"<template><p>" + kGet + "</p></template>", ""},
                              {"<form>" + kClose + "</form>", ""},
                              {"<p><!--#reason--> <!--#phrase id=\"1\"--></p>", ""},
                          });
}

TEST_F(PageTest, RefusesHtmlWhereItWouldNotBeText) {
  const auto refused = [](const std::string& at, const std::string& where) {
    return "p.html:" + at + ": HTTP_Parser_Get_fn as \"html\" may not stand " + where + kHtmlAdvice;
  };
  expect_faults(
      "p.html",
      {
          {"<script src=\"a.js\">" + kGet + "</script>", refused("1:20", "inside <script>")},
          {"<script type=\"application/json\">\n " + kGet + "</script>",
           refused("2:2", "in an application/json block")},
          {"<iframe>" + kGet + "</iframe>", refused("1:9", "inside <iframe>")},
          {"<xmp>" + kGet + "</xmp>", refused("1:6", "inside <xmp>")},
          {"<!-- " + kGet + " -->", refused("1:6", "inside a comment")},
          {"<a href=\"" + kGet + "\">", refused("1:10", "in the attribute href")},
          {"<a HREF=\"x?" + kGet + "\">", refused("1:12", "in the attribute href")},
          {"<img src=\"" + kGet + "\">", refused("1:11", "in the attribute src")},
          {"<form action=\"" + kGet + "\">", refused("1:15", "in the attribute action")},
          {"<button formaction=\"" + kGet + "\">", refused("1:21", "in the attribute formaction")},
          {"<iframe srcdoc=\"" + kGet + "\">", refused("1:17", "in the attribute srcdoc")},
          {"<svg><a xlink:href=\"" + kGet + "\">", refused("1:21", "in the attribute xlink:href")},
          {"<meta content=\"" + kGet + "\">", refused("1:16", "in the attribute content")},
          {"<input value='" + kGet + "'>",
           refused("1:15", "in an attribute value without double quotes")},
          {"<input value=" + kGet + ">",
           refused("1:14", "in an attribute value without double quotes")},
          {"<input " + kGet + ">", refused("1:8",
                                           "inside a tag, outside a double-quoted attribute "
                                           "value")},
          {"<" + kGet + ">", refused("1:2",
                                     "inside a tag, outside a double-quoted attribute "
                                     "value")},
          {"<p title=\"a\" title=\"" + kGet + "\">",
           refused("1:21", "inside a tag, outside a double-quoted attribute value")},
          {"</p title=\"" + kGet + "\">",
           refused("1:12", "inside a tag, outside a double-quoted attribute value")},
      });
}

TEST_F(PageTest, RefusesAValueWhoseFirstLineEndWouldBeLost) {
  const std::string lost =
      "a value that begins with a line end would lose it here; put a line end between <";
  expect_faults("p.html",
                {
                    {"<textarea rows=\"2\">" + kGet + "</textarea>",
                     "p.html:1:20: " + lost + "textarea> and the tag"},
                    {"\n<pre>" + kGet + "</pre>", "p.html:2:6: " + lost + "pre> and the tag"},
                });
}

TEST_F(PageTest, RefusesMarkupInAnAttribute) {
  EXPECT_EQ(faults_of("p.html", "<p title=\"" + kClose + "\">"),
            (std::vector<std::string>{"p.html:1:11: HTTP_Close_Parser_fn as \"html\" may not stand "
                                      "in an attribute; put it into text"}));
}

TEST_F(PageTest, RefusesInlineScriptsStylesAndEvents) {
  const std::string no_style = "a page has no inline style; ";
  expect_faults(
      "p.html",
      {
          {"<script src=\"/a.js\"></script>", ""},
          {"<script type=\"application/json\">{\"a\": 1}</script>", ""},
          {"<p>\n<script>alert(1)</script>", "p.html:2:1: " + kNoScript},
          {"<script type=\"text/javascript\"></script>", "p.html:1:1: " + kNoScript},
          {"<svg><script>alert(1)</script></svg>", "p.html:1:6: " + kNoScript},
          {"<style>p {}</style>", "p.html:1:1: " + no_style + "put it into a style sheet file"},
          {"<p style=\"color: red\">",
           "p.html:1:4: " + no_style + "give the element a class and style that"},
          {"<b>x</b>\n<p\n onclick=\"x()\">",
           "p.html:3:2: a page has no inline script; let a script file listen to the event"},
      });
}

TEST_F(PageTest, LetsJsonStandAsAValueOfAnApplicationJsonBlock) {
  const std::string open = "<script type=\"application/json\">";
  const std::string refused =
      "HTTP_Parser_Get_fn as \"json\" may not stand in a block that is not JSON, or inside a "
      "string "
      "of it" +
      kJsonAdvice;
  expect_faults(
      "p.html",
      {
          {open + kGetJson + "</script>", ""},
          {open + " {\"a\": " + kGetJson + ", \"b\": <!--#template-->}\n</script>", ""},
          {open + "<!--#phrase id=\"1\" format=\"json\"--></script>", ""},
          {open + "\"" + kGetJson + "\"</script>", "p.html:1:34: " + refused},
          {open + "[" + kGetJson + "</script>", "p.html:1:34: " + refused},
          {open + "x = " + kGetJson + "</script>", "p.html:1:37: " + refused},
          {"<p>" + kGetJson + "</p>",
           "p.html:1:4: HTTP_Parser_Get_fn as \"json\" may not stand in text" + kJsonAdvice},
          {"<p title=\"" + kGetJson + "\">",
           "p.html:1:11: HTTP_Parser_Get_fn as \"json\" may not stand in an "
           "attribute" +
               kJsonAdvice},
      });
}

TEST_F(PageTest, LetsJsStandAloneBetweenTheQuotesOfAScriptPage) {
  const std::string beside =
      "HTTP_Parser_Get_fn as \"js\" may not stand outside quotes, or beside other text in them" +
      kJsAdvice;
  expect_faults(
      "p.js",
      {
          {"var a = \"not closed", ""},
          {"var a = \"" + kGetJs + "\";", ""},
          {"var a = '" + kGetJs + "', b = '<!--#reason format=\"js\"-->';", ""},
          {"var a = " + kGetJs + ";", "p.js:1:9: " + beside},
          {"var a = \"x" + kGetJs + "\";", "p.js:1:11: " + beside},
          {"var a = '\"" + kGetJs + "\"';", "p.js:1:11: " + beside},
          {"// don't\nvar a = \"" + kGetJs + "\"; // '", ""},
          {"// \"" + kGetJs + "\"", "p.js:1:5: " + beside},
          {"a = /\"/ + " + kGetJs + " + '\"'", "p.js:1:11: " + beside},
          {"var a = `" + kGetJs + "`;", "p.js:1:10: " + beside},
          {"\nvar a = \"" + kGetJs + ";\n",
           "p.js:2:9: a string, comment, template literal or regular expression is not closed"},
          {"var a = \"" + kGet + "\";",
           "p.js:1:10: HTTP_Parser_Get_fn as \"html\" may not stand in a script page" +
               kHtmlAdvice},
          {"var a = " + kGetJson + ";",
           "p.js:1:9: HTTP_Parser_Get_fn as \"json\" may not stand in a script page" + kJsonAdvice},
      });
  expect_faults("p.html",
                {{"<p>" + kGetJs + "</p>",
                  "p.html:1:4: HTTP_Parser_Get_fn as \"js\" may not stand in text" + kJsAdvice}});
}

const std::string kMetadata =
    R"(<!--#parser fn="HTTP_Parser_Print_Meta_Data_Attributes_fn" format="js"-->)";

TEST_F(PageTest, LetsScriptStatementsStandBetweenTheStatementsOfAScriptPage) {
  const std::string within =
      "HTTP_Parser_Print_Meta_Data_Attributes_fn as \"js\" may not stand within a statement, "
      "string or comment; put it into a script page, as a statement of its own, at the start or "
      "after a \";\" or a brace";
  expect_faults("p.js", {
                            {kMetadata, ""},
                            {"// don't\nvar a = 1;\n" + kMetadata + "\nf(a);", ""},
                            {"function f() {" + kMetadata + "}", ""},
                            {"var a = " + kMetadata, "p.js:1:9: " + within},
                            {"a\n" + kMetadata, "p.js:2:1: " + within},
                            {"var a = \"" + kMetadata + "\"", "p.js:1:10: " + within},
                            {"var a = '" + kMetadata + "'", "p.js:1:10: " + within},
                            {"`" + kMetadata + "`", "p.js:1:2: " + within},
                            {"`${" + kMetadata + "}`", "p.js:1:4: " + within},
                            {"/* " + kMetadata + " */", "p.js:1:4: " + within},
                            {"// " + kMetadata, "p.js:1:4: " + within},
                            {";/" + kMetadata + "/", "p.js:1:3: " + within},
                            {";a" + kMetadata, "p.js:1:3: " + within},
                            {";" + kMetadata + "a", "p.js:1:2: " + within},
                        });
  expect_faults(
      "p.html",
      {
          {"<p>" + kMetadata,
           "p.html:1:4: HTTP_Parser_Print_Meta_Data_Attributes_fn as \"js\" may "
           "not stand in text" +
               within.substr(within.find(';'))},
          {R"(<!--#parser fn="HTTP_Parser_Print_Meta_Data_Attributes_fn" format="html"-->)",
           "p.html:1:1: HTTP_Parser_Print_Meta_Data_Attributes_fn has no format "
           "\"html\", as its values are escaped for scripts; it has \"js\" or "
           "\"json\""},
      });
}

TEST_F(PageTest, RefusesAListingThatWouldCloseTheOpenTemplate) {
  const std::string block = "<script type=\"application/json\">" + kListNonWia + "</script>";
  const std::string refused =
      "HTTP_Parser_List_Non_WIA_fn would close the template opened on line 1 of p.html; call it "
      "before that, or after the close tag";
  expect_faults("p.html", {
                              {block + kOpen + kClose + block, ""},
                              {kOpen + "\n" + block + kClose, "p.html:2:33: " + refused},
                          });
}

TEST_F(PageTest, TellsAllFaultsInTheirOrder) {
  EXPECT_EQ(faults_of("p.html", "<style></style>\n<a href=\"" + kGet + "\">x</a><script></script>"),
            (std::vector<std::string>{
                "p.html:1:1: a page has no inline style; put it into a style sheet file",
                "p.html:2:10: HTTP_Parser_Get_fn as \"html\" may not stand in the attribute href" +
                    kHtmlAdvice,
                "p.html:2:83: " + kNoScript,
            }));
}

TEST_F(PageTest, JudgesIncludedTextWhereItIsIncluded) {
  write("parts/value.inc", "x\n" + kGet);
  expect_faults("p.html", {{"<p><!--#include file=\"parts/value.inc\"--></p>", ""},
                           {"<a href=\"<!--#include file=\"parts/value.inc\"-->\">",
                            "parts/value.inc:2:1: HTTP_Parser_Get_fn as \"html\" may not stand in "
                            "the attribute href" +
                                kHtmlAdvice}});
}

TEST_F(PageTest, RefusesIncludesThatLeadNowhereOrInACircle) {
  write("a.inc", "<!--#include file=\"b.inc\"-->");
  write("b.inc", "\n<!--#include file=\"a.inc\"-->");
  write("broken.inc", "<!--#");
  ASSERT_EQ(::symlink("/etc/hostname", (pages_ + "/out.inc").c_str()), 0);
  ASSERT_EQ(::mkfifo((pages_ + "/fifo.inc").c_str(), 0600), 0);
  const std::string below = " is no path below the pages directory";
  expect_faults(
      "p.html",
      {
          {"<!--#include file=\"a.inc\"-->", "b.inc:2:1: the include of a.inc is a loop"},
          {"<!--#include file=\"p.html\"-->", "p.html:1:1: the include of p.html is a loop"},
          {" <!--#include file=\"x.inc\"-->",
           "p.html:1:2: x.inc cannot be read: No such file or directory"},
          {"<!--#include file=\"../x\"-->", "p.html:1:1: ../x" + below},
          {"<!--#include file=\"/etc/hostname\"-->", "p.html:1:1: /etc/hostname" + below},
          {"<!--#include file=\"parts//x\"-->", "p.html:1:1: parts//x" + below},
          {"<!--#include file=\".hidden\"-->", "p.html:1:1: .hidden" + below},
          {"<!--#include file=\"out.inc\"-->",
           "p.html:1:1: out.inc leads out of the pages directory"},
          {"<!--#include file=\"fifo.inc\"-->", "p.html:1:1: fifo.inc is no regular file"},
          {"<!--#include file=\"broken.inc\"-->",
           "broken.inc:1:6: a tag needs a name after \"<!--#\""},
      });
}

TEST_F(PageTest, MayIncludeAFileTwice) {
  write("a.inc", "x");
  write("p.html", "<!--#include file=\"a.inc\"--><!--#include file=\"a.inc\"-->");
  EXPECT_EQ(load_page(pages_, "p.html").items.size(), 2U);
}

TEST_F(PageTest, IsFreshUntilAFileOfItChanges) {
  write("a.inc", "x");
  write("p.html", "<!--#include file=\"a.inc\"-->");
  const Page page = load_page(pages_, "p.html");
  EXPECT_TRUE(is_fresh(page));
  write("a.inc", "longer");
  EXPECT_FALSE(is_fresh(page));
}

TEST_F(PageTest, IsNotFreshAfterItsFileWasReplacedByOneOfTheSameSizeAndTime) {
  write("p.html", "a");
  const Page page = load_page(pages_, "p.html");
  write("q.html", "b");
  std::filesystem::last_write_time(pages_ + "/q.html",
                                   std::filesystem::last_write_time(pages_ + "/p.html"));
  std::filesystem::rename(pages_ + "/q.html", pages_ + "/p.html");
  EXPECT_FALSE(is_fresh(page));
}

TEST_F(PageTest, IsNotFreshWhileItHasFaultsOrAfterAFileIsGone) {
  write("p.html", "<!--#");
  EXPECT_FALSE(is_fresh(load_page(pages_, "p.html")));
  write("p.html", "x");
  const Page page = load_page(pages_, "p.html");
  std::filesystem::remove(pages_ + "/p.html");
  EXPECT_FALSE(is_fresh(page));
}

TEST_F(PageTest, TakesATokenOnlyInsideAFormThatIsPosted) {
  const std::string outside =
      "the tag token stands outside a <form method=\"post\">; put it into the form that it is for";
  const Rows rows = {
      {"<form method=\"post\"><!--#token--></form>", ""},
      {"<form method=\"POST\"><p><!--#token--> x</p></form>", ""},
      {"<form method=post><input></form><form method=\"post\"><!--#token-->", ""},
      {"<!--#token-->", "p.html:1:1: " + outside},
      {"<form><!--#token--></form>", "p.html:1:7: " + outside},
      {"<form method=\"get\"><!--#token--></form>", "p.html:1:20: " + outside},
      {"<form method=\"post\">x</FORM><!--#token-->", "p.html:1:29: " + outside},
      {"<form method=\"post\" title=\"<!--#token-->\"></form>",
       "p.html:1:28: the tag token as \"html\" may not stand in an attribute; put it into text"},
  };
  expect_faults("p.html", rows);
}

const std::string kFolders =
    "<!--#parser fn=\"HTTP_Parser_Mailbox_List_fn\" arg=\"/tmp/template/pool/mailbox\"-->";
const std::string kPhpAdvice =
    "; put it between <?php and ?> in a .php page, outside strings and comments";

TEST_F(PageTest, LetsPhpStandInTheCodeOfPhpPages) {
  expect_faults("p.php",
                {
                    {"<?php " + kFolders + " ?>", ""},
                    {"<p>it's \" <?php '?>'; " + kFolders, ""},
                    {"<?= <!--#reason format=\"php\"--> ?>", ""},
                    {"<?php /* ' */ $a = <!--#jobs format=\"php\"-->; $b = \"{$a}\";", ""},
                    {"<p title=\"<?= f(\">\") ?>\">" + kGet + "<?php if (1 > 2): ?></p>", ""},
                    {"<?php f(<<<A\nit's\nA, " + kFolders + ")", ""},
                });
}

TEST_F(PageTest, RefusesPhpWhereItWouldNotBeCode) {
  const auto refused = [](const std::string& at, const std::string& where) {
    return "p.php:" + at + ": HTTP_Parser_Mailbox_List_fn as \"php\" may not stand " + where +
           kPhpAdvice;
  };
  const std::string in_quotes = "in a string or comment of the PHP";
  expect_faults("p.php", {
                             {kFolders, refused("1:1", "in text")},
                             {"<?php ?>\n" + kFolders, refused("2:1", "in text")},
                             {"<p title=\"" + kFolders + "\">", refused("1:11", "in an attribute")},
                             {"<?php '" + kFolders + "'", refused("1:8", in_quotes)},
                             {"<?php \"" + kFolders + "\"", refused("1:8", in_quotes)},
                             {"<?php \"{$a[" + kFolders + "]}\"", refused("1:12", in_quotes)},
                             {"<?php // " + kFolders, refused("1:10", in_quotes)},
                             {"<?php /* " + kFolders + " */", refused("1:10", in_quotes)},
                             {"<?php <<<A\n" + kFolders + "\nA;", refused("2:1", in_quotes)},
                             {"<? " + kFolders + " ?>", refused("1:4", "inside a comment")},
                         });
  EXPECT_EQ(faults_of("q.html", "<?php " + kFolders + " ?>"),
            std::vector<std::string>{"q.html:1:7: HTTP_Parser_Mailbox_List_fn as \"php\" may not "
                                     "stand inside a comment" +
                                     kPhpAdvice});
}

TEST_F(PageTest, RefusesEveryOtherFormatInPhp) {
  expect_faults(
      "p.php",
      {
          {"<?php $a = " + kGet,
           "p.php:1:12: HTTP_Parser_Get_fn as \"html\" may not stand in PHP" + kHtmlAdvice},
          {"<form method=\"post\"><?php <!--#token-->",
           "p.php:1:27: the tag token as \"html\" may not stand in PHP"
           "; put it into text"},
          {"<?php <!--#posted-->",
           "p.php:1:7: the tag posted as \"json\" may not stand in PHP; put it into a <script "
           "type=\"application/json\"> block, as a value of its own"},
          {"<?php 'a", "p.php:1:7: a string, heredoc or comment of the PHP is not closed"},
      });
}

TEST_F(PageTest, RefusesTheUpkeepAndTheFormatsOfMailboxListings) {
  expect_faults(
      "p.php",
      {
          {"<?php <!--#parser fn=\"HTTP_Parser_Update_Templates_fn\"-->",
           "p.php:1:7: HTTP_Parser_Update_Templates_fn changes templates; the host calls it after "
           "a "
           "form that needs it, a tag cannot"},
          {"<!--#parser fn=\"HTTP_Parser_Mailbox_List_fn\" format=\"html\"-->",
           "p.php:1:1: HTTP_Parser_Mailbox_List_fn has no format \"html\"; it has \"php\""},
          {"<!--#parser fn=\"HTTP_Parser_Mbox_Set_Pass_SA_fn\"-->",
           "p.php:1:1: HTTP_Parser_Mbox_Set_Pass_SA_fn is a form handler; a form posts to it, a "
           "tag "
           "cannot call it"},
          {"<!--#session format=\"json\"-->",
           "p.php:1:1: the tag session has no format \"json\"; it has \"php\""},
      });
}

}  // namespace
}  // namespace platen
