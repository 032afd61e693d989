// Tests of serving pages: what a request gets, what the module's functions see, what is logged.
// SPDX-License-Identifier: MIT
#include "site.h"

#include <filesystem>

#include "page_fixture.h"

namespace platen {
namespace {

const std::string kOpen = R"(<!--#parser fn="HTTP_Open_Parser_fn" arg=""-->)";
const std::string kClose = R"(<!--#parser fn="HTTP_Close_Parser_fn" arg="FALSE"-->)";
const std::string kTemplate = "/tmp/template/pool/a.KTP";

std::string get(const std::string& format) {
  return R"(<!--#parser fn="HTTP_Parser_Get_fn" arg="s NULL a t" format=")" + format + "\"-->";
}

std::string json_block(const std::string& text) {
  return "<script type=\"application/json\">" + text + "</script>";
}

class SiteTest : public PageFixture {
 protected:
  Response request(const std::string& path, const std::vector<Field>& query = {},
                   const std::string& language = "") {
    Request asked;
    asked.method = "GET";
    asked.path = path;
    asked.query = query;
    asked.language = language;
    return site_.serve(asked);
  }

  // The body of a page with that text.
  std::string served(const std::string& text, const std::vector<Field>& query = {}) {
    write("p.html", text);
    return request("/p.html", query).body;
  }

  std::string served_script(const std::string& text) {
    write("p.js", text);
    return request("/p.js").body;
  }

  Site site_{pages_, &module_};
};

TEST_F(SiteTest, ServesPagesWithTheirTypes) {
  write("index.html", "start");
  write("sub/index.html", "sub");
  write("a.js", "var a;");
  const Response start = request("/");
  EXPECT_EQ(start.status, 200);
  EXPECT_EQ(start.content_type, "text/html; charset=utf-8");
  EXPECT_EQ(start.body, "start");
  EXPECT_EQ(request("/index.html").body, "start");
  EXPECT_EQ(request("/sub/").body, "sub");
  EXPECT_EQ(request("/a.js").content_type, "text/javascript; charset=utf-8");
}

TEST_F(SiteTest, HasNoOtherPages) {
  write("p.html", "x");
  write("part.inc", "x");
  write("static/a.js", "x");
  write(".hidden.html", "x");
  write(".git/p.html", "x");
  std::filesystem::create_directory(pages_ + "/directory.html");
  std::filesystem::create_directory(root_ + "/outside");
  std::filesystem::create_directory_symlink(root_ + "/outside", pages_ + "/link");
  std::filesystem::copy_file(pages_ + "/p.html", root_ + "/outside/p.html");
  for (const std::string path :
       {"", "/", "p.html", "/q.html", "/p", "/p.html/", "//p.html", "/x/../p.html", "/./p.html",
        "/../pages/p.html", "/part.inc", "/static/a.js", "/.hidden.html", "/.git/p.html",
        "/directory.html", "/link/p.html", "/.html"}) {
    EXPECT_EQ(request(path).status, 404) << path;
  }
  EXPECT_EQ(request(std::string("/p.html\0.html", 13)).status, 404);
  EXPECT_EQ(request("/p.html").status, 200);
}

TEST_F(SiteTest, EscapesWhatAnErrorPageRepeats) {
  const Response response = request("/<script>alert(1)</script>.html");
  EXPECT_NE(response.body.find("There is no page /&lt;script&gt;"), std::string::npos);
  EXPECT_EQ(response.body.find("<script"), std::string::npos);
}

TEST_F(SiteTest, RefusesQueryFieldsByPolicyBeforeAnyFunctionRuns) {
  write("p.html", kOpen);
  const Response response = request("/p.html", {{"ParserFilename", "/etc/passwd"}});
  EXPECT_EQ(response.status, 400);
  EXPECT_NE(response.body.find("The field \"ParserFilename\" is not below a template pool"),
            std::string::npos)
      << response.body;
  EXPECT_EQ(module_double().calls, std::vector<std::string>{});
  EXPECT_EQ(module_double().log,
            (std::vector<std::string>{
                "5 site.cpp refused /p.html: The field \"ParserFilename\" is not below a template "
                "pool; it begins with /tmp/template/pool/ or /tarn/template/pool/."}));
}

TEST_F(SiteTest, CallsFunctionsInOrderWithTheFieldsAndTheLanguage) {
  module_double().values = {"v"};
  write("p.html", kOpen + get("html") + kClose);
  const Response response =
      request("/p.html", {{"ParserFilename", kTemplate}, {"ServiceName", "x"}}, "de");
  EXPECT_EQ(response.body,
            "v<input type=\"hidden\" name=\"DefaultParserFilename\" value=\"" + kTemplate + "\">");
  EXPECT_EQ(module_double().calls,
            (std::vector<std::string>{"Open()+page", "Get(s NULL a t)+page", "Close(FALSE)+page",
                                      "release_values"}));
  EXPECT_EQ(module_double().entries,
            (std::vector<std::string>{"ParserFilename=" + kTemplate, "ServiceName=x"}));
  EXPECT_EQ(module_double().language, "de-de");
}

TEST_F(SiteTest, GivesEachCallItsOwnCopyOfTheArgument) {
  write("p.html", R"(<!--#parser fn="HTTP_Open_Parser_fn" arg="/a.KTP|O_RDWR"-->)" + kClose);
  request("/p.html");
  request("/p.html");
  EXPECT_EQ(module_double().calls[0], "Open(/a.KTP|O_RDWR)+page");
  EXPECT_EQ(module_double().calls[3], "Open(/a.KTP|O_RDWR)+page");
}

TEST_F(SiteTest, ClosesAnOpenTemplateAtTheEndWithoutPrinting) {
  EXPECT_EQ(served("a" + kOpen + "b", {{"ParserFilename", kTemplate}}), "ab");
  EXPECT_EQ(module_double().calls,
            (std::vector<std::string>{"Open()+page", "Close(FALSE)", "release_values"}));
}

TEST_F(SiteTest, ClosesAnOpenTemplateBeforeTheNextIsOpenedWithoutPrinting) {
  EXPECT_EQ(served(kOpen + kOpen + kClose, {{"ParserFilename", kTemplate}}),
            "<input type=\"hidden\" name=\"DefaultParserFilename\" value=\"" + kTemplate + "\">");
  EXPECT_EQ(module_double().calls,
            (std::vector<std::string>{"Open()+page", "Close(FALSE)", "Open()+page",
                                      "Close(FALSE)+page", "release_values"}));
}

TEST_F(SiteTest, RendersEachFormatWhereItStands) {
  module_double().values = {"a'<b", "c,\"d"};
  EXPECT_EQ(served("<p>" + get("html") + "</p>"), "<p>a&#39;&lt;b,c,&quot;d</p>");
  EXPECT_EQ(served(json_block(get("json"))), json_block(R"(["a'\u003Cb","c,\"d"])"));
  EXPECT_EQ(served_script("x = \"" + get("js") + "\";"), "x = \"a\\'\\x3Cb,c,\\\"d\";");
  const std::string js_get =
      R"(<!--#parser fn="HTTP_Parser_JS_Get_fn" arg="s NULL a t" format="js"-->)";
  EXPECT_EQ(served_script("x = '" + js_get + "';"), "x = 'a\\'\\x3Cb,c,\\\"d';");
  const std::string list = R"(<!--#parser fn="HTTP_Parser_List_Non_WIA_fn" format="json"-->)";
  EXPECT_EQ(served(json_block(list)), json_block(R"(["a'\u003Cb","c,\"d"])"));
  const std::string invocations =
      R"(<!--#parser fn="HTTP_Parser_List_Invocations_fn" arg="s" format="html"-->)";
  EXPECT_EQ(served("<p>" + invocations), "<p>a&#39;&lt;b,c,&quot;d");
}

TEST_F(SiteTest, NeverReadsPrintedTextForTags) {
  module_double().values = {"<!--#reason-->"};
  EXPECT_EQ(served("<p>" + get("html")), "<p>&lt;!--#reason--&gt;");
  EXPECT_EQ(served_script("x = '" + get("js") + "'"), "x = '\\x3C!--#reason--\\x3E'");
  EXPECT_EQ(served(json_block(get("json"))), json_block(R"(["\u003C!--#reason-->"])"));
}

TEST_F(SiteTest, TellsWhyATemplateDidNotOpen) {
  const std::string path = "/tmp/template/pool/missing'.KTP";
  write("p.html", "<!--#reason-->|" + kOpen + "<!--#reason-->");
  const Response response = request("/p.html", {{"ParserFilename", path}});
  EXPECT_EQ(response.status, 404);
  EXPECT_EQ(response.body, "|Template not available : /tmp/template/pool/missing&#39;.KTP");
  EXPECT_EQ(module_double().log,
            (std::vector<std::string>{"3 page_expansion.cpp " + path + ":2:3: unexpected word"}));
  EXPECT_EQ(request("/p.html").status, 200);
}

TEST_F(SiteTest, TakesNoFailureOfAListingForOneOfThePage) {
  const std::string list =
      json_block(R"(<!--#parser fn="HTTP_Parser_List_Non_WIA_fn" format="json"-->)");
  write("p.html", list + "<!--#reason-->");
  const Response response = request("/p.html");
  EXPECT_EQ(response.status, 200);
  EXPECT_EQ(response.body, json_block("[]"));
  EXPECT_EQ(module_double().calls,
            (std::vector<std::string>{"List_Non_WIA()+page", "Close(FALSE)", "release_values"}));
  write("p.html", kOpen + kClose + list + "<!--#reason-->");
  EXPECT_EQ(request("/p.html", {{"ParserFilename", "/tmp/template/pool/missing.KTP"}}).body,
            json_block("[]") + "Template not available : /tmp/template/pool/missing.KTP");
}

TEST_F(SiteTest, TranslatesPhrasesAndShowsTheTokenOfAMissingOne) {
  write("p.html", R"(<p title="<!--#phrase id="name"-->"><!--#phrase id="no&quot;ne"-->)");
  EXPECT_EQ(request("/p.html").body, "<p title=\"Name &amp; &lt;title&gt;\">no&quot;ne");
  EXPECT_EQ(request("/p.html", {}, "de").body, "<p title=\"Bezeichnung\">no&quot;ne");
  EXPECT_EQ(served(json_block(R"({"a": <!--#phrase id="name" format="json"-->})")),
            json_block(R"({"a": "Name & \u003Ctitle>"})"));
}

TEST_F(SiteTest, OffersTheOtherLanguagesByTheirNames) {
  write("p.html", "<form action=\"/do/language\"><!--#languages--></form>");
  EXPECT_EQ(request("/p.html").body,
            "<form action=\"/do/language\"><button class=\"link\" name=\"language\" "
            "value=\"de-de\" lang=\"de-de\">Bezeichnung</button>\n</form>");
  EXPECT_EQ(request("/p.html", {}, "de").body,
            "<form action=\"/do/language\"><button class=\"link\" name=\"language\" "
            "value=\"en-us\" lang=\"en-us\">Name &amp; &lt;title&gt;</button>\n</form>");
}

TEST_F(SiteTest, PrintsTheOpenTemplateAsJson) {
  module_double().values = {"1", "2\xFF"};
  EXPECT_EQ(
      served(kOpen + json_block("<!--#template-->"), {{"ParserFilename", kTemplate}}),
      json_block(R"({"file":"/tmp/template/pool/a.KTP","services":[)"
                 R"({"name":"general","invocations":[)"
                 R"({"name":"one","attributes":[)"
                 R"({"name":"Name","values":["a\u003Cb"],"type":"string","compulsory":true},)"
                 R"({"name":"List","values":["1","2�"],"type":"enum_x","compulsory":false}]},)"
                 R"({"name":"two","attributes":[)"
                 R"({"name":"Empty","values":[],"type":"string","compulsory":false}]}]},)"
                 R"({"name":"file","invocations":[{"name":"one","attributes":[)"
                 R"({"name":"Name�","values":["x"],"type":"string","compulsory":false},)"
                 R"({"name":"Name�","values":["y"],"type":"string","compulsory":false}]}]}]})"));
}

TEST_F(SiteTest, PrintsNullForATemplateThatIsNotOpen) {
  EXPECT_EQ(served(json_block("<!--#template-->")), json_block("null"));
  EXPECT_EQ(served(kOpen + json_block("<!--#template-->"),
                   {{"ParserFilename", "/tmp/template/pool/missing.KTP"}}),
            json_block("null"));
}

TEST_F(SiteTest, ExpandsIncludes) {
  write("parts/a.inc", "[<!--#include file=\"parts/b.inc\"-->]");
  write("parts/b.inc", "<!--#phrase id=\"x\"-->");
  EXPECT_EQ(served("1<!--#include file=\"parts/a.inc\"-->2"), "1[x]2");
}

TEST_F(SiteTest, ReadsAPageAgainWhenItHasChanged) {
  EXPECT_EQ(served("before"), "before");
  EXPECT_EQ(served("afterwards"), "afterwards");
  write("p.html", "<!--#");
  EXPECT_EQ(request("/p.html").status, 500);
  EXPECT_EQ(served("repaired"), "repaired");
}

TEST_F(SiteTest, AnswersAFaultyPageWith500AndLogsTheFault) {
  write("p.html", "<p>\n<!--#nothing-->");
  const Response response = request("/p.html");
  EXPECT_EQ(response.status, 500);
  EXPECT_NE(response.body.find("The page /p.html has a fault."), std::string::npos);
  EXPECT_EQ(module_double().log,
            (std::vector<std::string>{
                "3 site.cpp p.html:2:1: unknown tag \"nothing\"; the tags are "
                "parser, include, reason, phrase, template, token, languages, "
                "login, posted, page, audit, status, notice, accounts, jobs, mailbox, "
                "session, difference, versions, factory, deleted, clone or upload"}));
}

TEST_F(SiteTest, AnswersAPrintOfUnknownValuesWith500AndNoneOfThePage) {
  module_double().prints_unknown_format = true;
  write("p.html", "secret\n<p>" + kOpen + get("html"));
  const Response response = request("/p.html", {{"ParserFilename", kTemplate}});
  EXPECT_EQ(response.status, 500);
  EXPECT_EQ(response.body.find("secret"), std::string::npos);
  EXPECT_EQ(module_double().log,
            (std::vector<std::string>{"3 site.cpp p.html:2:50: HTTP_Parser_Get_fn printed with the "
                                      "unknown format \"<b>%s</b>\""}));
  EXPECT_EQ(module_double().calls.back(), "release_values");
  EXPECT_EQ(module_double().calls[2], "Close(FALSE)");
}

TEST_F(SiteTest, AnswersAnExceptionWith500) {
  module_double().throws = true;
  write("p.html", get("html"));
  EXPECT_EQ(request("/p.html").status, 500);
  EXPECT_EQ(module_double().log,
            (std::vector<std::string>{"3 site.cpp /p.html: thrown by a test"}));
}

TEST_F(SiteTest, LogsTheFailuresOfTheStore) {
  module_double().failures = "a.KTP: save: disk full\nb.KTP: write: not open\n";
  served("x");
  EXPECT_EQ(module_double().log,
            (std::vector<std::string>{"3 module_request.cpp a.KTP: save: disk full",
                                      "3 module_request.cpp b.KTP: write: not open"}));
}

TEST_F(SiteTest, ChecksEveryPageAndTellsEachFaultOnce) {
  write("b.html", "<!--#include file=\"x.inc\"-->");
  write("a.html", "\n<!--#include file=\"x.inc\"-->");
  write("sub/c.js", "a = '<!--#reason format=\"js\"-->");
  write("x.inc", "<!--#oh-->");
  write("static/plain.js", "a = '");
  write(".hidden/p.html", "<!--#");
  EXPECT_EQ(site_.check(),
            (std::vector<std::string>{
                "x.inc:1:1: unknown tag \"oh\"; the tags are parser, include, reason, phrase, "
                "template, token, languages, login, posted, page, audit, status, notice, accounts, "
                "jobs, mailbox, "
                "session, "
                "difference, versions, factory, deleted, clone or upload",
                "sub/c.js:1:5: a string, comment, template literal or regular expression is not "
                "closed"}));
}

TEST_F(SiteTest, ChecksNothingInADirectoryThatIsNotThere) {
  EXPECT_EQ(Site(root_ + "/none", nullptr).check(),
            (std::vector<std::string>{root_ + "/none: cannot be read: No such file or directory"}));
}

}  // namespace
}  // namespace platen
