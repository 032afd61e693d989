// Tests of pages and forms together: what handlers get, what visitors are told, what is audited.
// SPDX-License-Identifier: MIT
#include "service.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <optional>

#include "page_fixture.h"

namespace platen {
namespace {

constexpr char kFile[] = "/tmp/template/pool/web/no such.KTP";
constexpr char kDelete[] = "/form/HTTP_Parser_Delete_fn";
constexpr char kCopy[] = "/form/HTTP_Parser_Copy_fn";
constexpr char kPage[] =
    "<form method=\"post\"><!--#token--></form><i><!--#reason--></i><b><!--#notice--></b>"
    "<script type=\"application/json\"><!--#posted--></script>";

std::string header(const Response& response, const std::string& name) {
  for (const auto& [key, value] : response.headers) {
    if (key == name) return value;
  }
  return "";
}

std::string between(const std::string& text, const std::string& begin, const std::string& end) {
  const size_t first = text.find(begin);
  if (first == std::string::npos) return "";
  const size_t start = first + begin.size();
  return text.substr(start, text.find(end, start) - start);
}

class ServiceTest : public PageFixture {
 protected:
  ServiceTest() {
    for (const char* page : {"index.html", "login.html", "edit.html", "accounts.html",
                             "password.html", "mailbox/pin.php"}) {
      write(page, kPage);
    }
  }

  // Logs an account of that role in, without the form.
  void log_in(Role role) {
    std::string password;
    visitors_.accounts.add("erika", role, &password);
    visitors_.database.run("UPDATE account SET must_change = 0");
    cookie_ = visitors_.sessions.start("erika");
  }

  Response send(Request request) {
    request.cookie = "platen_session=" + cookie_;
    request.address = "192.0.2.1";
    request.host = "device";
    return service_->serve(request);
  }

  Response get(const std::string& path, const std::vector<Field>& query = {}) {
    Request request;
    request.method = "GET";
    request.path = path;
    request.query = query;
    return send(request);
  }

  // Posts `fields`, already encoded, with the token of the start page.
  Response post(const std::string& path, const std::string& fields, const std::string& page = "/") {
    Request request;
    request.method = "POST";
    request.path = path;
    request.origin = "http://device";
    request.content_type = "application/x-www-form-urlencoded";
    request.body = "token=" + visitors_.sessions.make_token(cookie_, page) + "&" + fields;
    request.content_length = request.body.size();
    return send(request);
  }

  // The entries of the audit trail, oldest first, as "LOGIN ADDRESS ACTION OBJECT: OUTCOME".
  std::vector<std::string> audit() {
    std::vector<std::string> lines;
    for (const AuditEntry& entry : visitors_.audit.list()) {
      lines.insert(lines.begin(), entry.login + " " + entry.address + " " + entry.action + " " +
                                      entry.object + ": " + entry.outcome);
    }
    return lines;
  }

  Visitors visitors_{root_ + "/database"};
  std::optional<Service> service_{std::in_place, pages_, module_, root_ + "/database", "/history"};
  std::string cookie_ = new_cookie();
};

TEST_F(ServiceTest, HandsAFormToItsHandlerInOrderAndWithoutTheHostsFields) {
  log_in(Role::administrator);
  const Response response = post(kCopy, std::string("ParserFilename=") + kFile +
                                            "&replace=yes&CopyParserFilename=B.KTP&NextPage=/x");
  EXPECT_EQ(response.status, 303);
  EXPECT_EQ(header(response, "Location"), "/x");
  EXPECT_EQ(module_double().calls,
            (std::vector<std::string>{"Form(administrator)", "release_values"}));
  EXPECT_EQ(module_double().entries,
            (std::vector<std::string>{std::string("ParserFilename=") + kFile,
                                      "CopyParserFilename=B.KTP"}));
  EXPECT_EQ(module_double().login, "erika");
  EXPECT_EQ(module_double().language, "en-us");
  Request head;
  head.method = "HEAD";
  head.path = "/index.html";
  EXPECT_EQ(send(head).status, 200);
  EXPECT_EQ(between(get("/").body, "<b>", "</b>"), "Copied to &quot;B.KTP&quot;.");
  EXPECT_EQ(audit(), (std::vector<std::string>{std::string("erika 192.0.2.1 HTTP_Parser_Copy_fn ") +
                                               kFile + ": done"}));
}

TEST_F(ServiceTest, GivesTheAuditTrailToAdministratorsOnly) {
  EXPECT_EQ(header(get("/download/audit", {{"login", "x"}}), "Location"),
            "/login.html?NextPage=%2Fdownload%2Faudit%3Flogin%3Dx");
  log_in(Role::user);
  EXPECT_EQ(get("/download/audit").status, 403);
  visitors_.database.run("UPDATE account SET role = 'administrator'");
  const Response file = get("/download/audit", {{"login", "erika"}, {"format", "csv"}});
  EXPECT_EQ(file.content_type, "text/csv; charset=utf-8");
  EXPECT_EQ(header(file, "Content-Disposition"), "attachment; filename*=UTF-8''audit.csv");
  EXPECT_NE(file.body.find("\"/download/audit\",\"\",\"refused: only for administrators\""),
            std::string::npos);
  EXPECT_EQ(get("/download/audit", {{"format", "jsonl"}}).body.substr(0, 9), "{\"time\":\"");
  EXPECT_EQ(get("/download/audit", {{"outcome", "x"}}).status, 400);
  EXPECT_EQ(audit().back(),
            "erika 192.0.2.1 /download/audit : refused: The field \"outcome\" is none of the words "
            "it may be: done refused.");
  EXPECT_EQ(get("/download/passwords").status, 404);
}

TEST_F(ServiceTest, KeepsWhatTemplatesHeldWithTheNameOfWhoeverIsLoggedIn) {
  get("/");
  EXPECT_EQ(module_double().history, (std::vector<std::string>{"/history 20 ", "/history 20 "}));
  log_in(Role::user);
  get("/");
  EXPECT_EQ(module_double().history.back(), "/history 20 erika");
  cookie_ = new_cookie();
  get("/");
  EXPECT_EQ(module_double().history.back(), "/history 20 ");
}

TEST_F(ServiceTest, AuditsTheFormsOfWorkersThatHaveEnded) {
  const auto server = std::make_unique<ServerState>();
  service_->join(server.get(), 0);
  log_in(Role::user);
  const std::string fields = std::string("ParserFilename=") + kFile;
  post(kDelete, fields);
  EXPECT_EQ(server->workers[0].post.get(), "");
  WorkerEnd& end = server->ends[3];
  end.post.set("[\"erika\",\"192.0.2.1\",\"job\",\"scan\"]");
  end.cause.set("signal 9 (Killed)");
  end.last_line.set("4711 3 x.cpp:1 gone");
  end.time = 1'800'000'000;
  end.is_audited = false;
  get("/");
  get("/");
  EXPECT_EQ(audit().size(), 2U);
  EXPECT_EQ(
      audit()[1],
      "erika 192.0.2.1 job scan: failed: signal 9 (Killed); last logged: 4711 3 x.cpp:1 gone");
  EXPECT_EQ(visitors_.audit.list()[0].time, 1'800'000'000);
}

TEST_F(ServiceTest, KeepsTheFormOfAnEndedWorkerWhileTheDatabaseCannotBeWritten) {
  const auto server = std::make_unique<ServerState>();
  service_->join(server.get(), 0);
  get("/");
  WorkerEnd& end = server->ends[0];
  end.post.set("[\"erika\",\"192.0.2.1\",\"job\",\"scan\"]");
  end.cause.set("exit 1");
  end.is_audited = false;
  visitors_.database.run("ALTER TABLE audit RENAME TO hidden");
  EXPECT_EQ(get("/").status, 200);
  visitors_.database.run("ALTER TABLE hidden RENAME TO audit");
  EXPECT_EQ(get("/index.html", {{"x", "y"}}).status, 400);
  EXPECT_EQ(audit()[0], "erika 192.0.2.1 job scan: failed: exit 1");
  EXPECT_EQ(audit().size(), 2U);
}

TEST_F(ServiceTest, AuditsWhichOfSeveralThingsAFormDoes) {
  log_in(Role::administrator);
  post("/do/account", "what=disable&name=max");
  post("/do/account", "what=promote&name=max");
  EXPECT_TRUE(audit()[0].starts_with("erika 192.0.2.1 account disable max: refused: "))
      << audit()[0];
  EXPECT_TRUE(audit()[1].starts_with("erika 192.0.2.1 account max: refused: ")) << audit()[1];
}

TEST_F(ServiceTest, KeepsWhatIsLeftForASessionWhileOthersFillTheStore) {
  const auto is_kept = [this] {
    Request request;
    request.cookie = "platen_session=" + cookie_;
    EXPECT_TRUE(Visit(visitors_, request).leave("notice", "x"));
    for (int i = 0; i < 100; ++i) visitors_.handover.leave(new_cookie(), false, "notice", "y");
    return Visit(visitors_, request).take("notice") == "x";
  };
  EXPECT_FALSE(is_kept());
  log_in(Role::user);
  EXPECT_TRUE(is_kept());
  visitors_.sessions.end(cookie_);
  EXPECT_TRUE(is_kept());
}

TEST_F(ServiceTest, TellsHowLongTheChangeOfAPasswordHasToWait) {
  log_in(Role::user);
  visitors_.throttle.begin("account:erika", "192.0.2.1");
  visitors_.database.run("UPDATE failed_try SET failures = 100, last = last + 1000");
  const Response response =
      post("/do/password", "old=x&new=a+longer+one&repeat=a+longer+one", "/password.html");
  EXPECT_EQ(response.status, 429);
  EXPECT_EQ(header(response, "Retry-After"), "900");
  EXPECT_EQ(between(response.body, "<i>", "</i>"),
            "There were too many failed tries. Try again in 15 minutes.");
}

TEST_F(ServiceTest, GivesNoNameWithoutTheLockOfTheState) {
  log_in(Role::user);
  const std::string link = root_ + "/link";
  std::filesystem::create_directory_symlink(root_, link);
  service_.emplace(pages_, module_, link + "/database", "/history");
  EXPECT_EQ(get("/").status, 200);
  std::filesystem::remove(link);
  const Response response =
      post(kCopy, std::string("ParserFilename=") + kFile + "&CopyParserFilename=B.KTP");
  EXPECT_EQ(response.status, 500);
  EXPECT_EQ(between(response.body, "<i>", "</i>"),
            "The device&#39;s state cannot be locked. Tell the administrator; the log says what is "
            "wrong.");
  EXPECT_TRUE(std::ranges::none_of(
      module_double().calls, [](const std::string& call) { return call.starts_with("Form("); }));
  EXPECT_EQ(audit(), (std::vector<std::string>{
                         std::string("erika 192.0.2.1 HTTP_Parser_Copy_fn ") + kFile +
                         ": refused: The device's state cannot be locked. Tell the administrator; "
                         "the log says what is wrong."}));
}

TEST_F(ServiceTest, TellsWhatAHandlerLogsWhereItGivesNoReason) {
  log_in(Role::user);
  module_double().result = 1;
  const std::pair<std::string, std::string> rows[] = {
      {"*** Filesize exceeded!", "The name of the file is too long; choose a shorter one."},
      {"copyFrom == NULL", "The form names no template; open its page again."},
      {"*** Invalid template path!", "The file does not lie in a pool of templates."},
      {"HTTP_Parser_Delete called on default template!", "The default template cannot be deleted."},
      {"anything else",
       "This could not be done; the file may be gone or protected. Load the page again."},
      {"", "This could not be done; the file may be gone or protected. Load the page again."},
  };
  for (const auto& [line, words] : rows) {
    module_double().error = line;
    const Response response = post(kDelete, std::string("ParserFilename=") + kFile);
    EXPECT_EQ(response.status, 422);
    EXPECT_EQ(between(response.body, "<i>", "</i>"), words);
  }
  EXPECT_EQ(module_double().calls.front(), "Form()");
}

TEST_F(ServiceTest, TellsTheHandlersReasonAndTheStoresFailures) {
  log_in(Role::user);
  module_double().result = 1;
  module_double().reason = "No copy of <A>.\r\n";
  const std::string fields = std::string("ParserFilename=") + kFile;
  Response response = post(kDelete, fields);
  EXPECT_EQ(response.status, 422);
  EXPECT_EQ(between(response.body, "<i>", "</i>"), "No copy of &lt;A&gt;.");
  module_double().failures = "a.KTP: save: disk full\nb.KTP: write: not open\n";
  response = post(kDelete, fields);
  EXPECT_EQ(response.status, 500);
  EXPECT_EQ(between(response.body, "<i>", "</i>"),
            "No copy of &lt;A&gt;.\na.KTP: save: disk full\nb.KTP: write: not open");
  module_double().result = 0;
  module_double().reason = "";
  response = post(kDelete, fields);
  EXPECT_EQ(response.status, 500);
  EXPECT_EQ(between(response.body, "<i>", "</i>"),
            "Not everything was saved.\na.KTP: save: disk full\nb.KTP: write: not open");
}

TEST_F(ServiceTest, TellsAMissingFactoryTemplateAndAuditsWhatWasToBeRestored) {
  log_in(Role::administrator);
  const Response response =
      post("/form/HTTP_Parser_Restore_Defaults_fn",
           "ParserFilename=no+such.KTP&CopyParserFilename=B+no+such.KTP", "/index.html");
  const std::string reason = "There is no factory template \"no such.KTP\". Choose another.";
  EXPECT_EQ(response.status, 422);
  EXPECT_EQ(between(response.body, "<i>", "</i>"), html_text(reason));
  EXPECT_EQ(std::ranges::count(module_double().calls, "Form(administrator)"), 0);
  EXPECT_EQ(audit(), std::vector<std::string>{"erika 192.0.2.1 HTTP_Parser_Restore_Defaults_fn "
                                              "/tmp/template/pool/system/B no such.KTP: refused: " +
                                              reason});
}

TEST_F(ServiceTest, LeavesOneAuditEntryForEachRefusal) {
  post(kDelete, "", "/edit.html");
  log_in(Role::user);
  post(kDelete, "");
  post("/do/account", "what=reset&name=admin");
  post("/do/nothing", "");
  post("/index.html", "");
  get(kDelete);
  get("/index.html", {{"x", "y"}});
  get("/accounts.html");
  get("/mailbox/pin.php");
  Request broken;
  broken.method = "GET";
  broken.path = "/index.html";
  broken.fault = "The field \"x\" holds a NUL byte.";
  EXPECT_EQ(send(broken).status, 400);
  Request forged;
  forged.method = "POST";
  forged.path = kDelete;
  forged.origin = "http://evil.example";
  send(forged);
  const std::string who = "erika 192.0.2.1 ";
  EXPECT_EQ(
      audit(),
      (std::vector<std::string>{
          " 192.0.2.1 HTTP_Parser_Delete_fn : refused: You are not logged in. Log in; what you "
          "typed is kept, and shown again then. It is not sent yet.",
          who + "HTTP_Parser_Delete_fn : refused: The field \"ParserFilename\" is missing; fill it "
                "in.",
          who + "account reset admin: refused: Only an administrator may do this. Log in as one.",
          who + "/do/nothing : refused: no such form",
          who + "/index.html : refused: method POST",
          who + kDelete + " : refused: method GET",
          who + "/index.html : refused: The field \"x\" is not known to any page; leave it out.",
          who + "/accounts.html : refused: only for administrators",
          who + "/mailbox/pin.php : refused: a field is missing",
          who + "/index.html : refused: The field \"x\" holds a NUL byte.",
          who + "HTTP_Parser_Delete_fn : refused: The form was not sent from a page of this "
                "device. Open its page here and send it from there.",
      }));
  EXPECT_TRUE(module_double().calls.empty() || module_double().calls.front() != "Form()");
}

TEST_F(ServiceTest, SaysWhenWhatWasTypedCannotBeKeptForALogin) {
  const std::string typed(256 * 1024, 'x');
  const Response response =
      post("/form/HTTP_Parser_Set_fn", "AttributeValue=" + typed, "/edit.html");
  EXPECT_EQ(response.status, 403);
  EXPECT_EQ(between(response.body, "<i>", "</i>"),
            "You are not logged in, and what you typed is too long to be kept. Log in and type it "
            "again.");
  log_in(Role::user);
  EXPECT_EQ(between(get("/edit.html").body, "json\">", "</script>"), "null");
}

TEST_F(ServiceTest, KeepsWhatWasTypedUntilAPasswordIsChosen) {
  log_in(Role::administrator);
  visitors_.database.run("UPDATE account SET must_change = 1");
  Request request;
  request.method = "POST";
  request.path = kDelete;
  request.origin = "http://device";
  request.content_type = "application/x-www-form-urlencoded";
  request.body = "token=" + visitors_.sessions.make_token(new_cookie(), "/accounts.html") +
                 "&ParserFilename=typed";
  request.content_length = request.body.size();
  const Response response = send(request);
  EXPECT_EQ(response.status, 303);
  EXPECT_EQ(header(response, "Location"), "/password.html");
  EXPECT_EQ(between(get("/password.html").body, "<b>", "</b>"),
            "The form was made for another session, perhaps before a login or logout; open its "
            "page again and send it from there.");
  visitors_.database.run("UPDATE account SET must_change = 0");
  EXPECT_NE(get("/accounts.html").body.find("\"value\":\"typed\""), std::string::npos);
}

TEST_F(ServiceTest, AuditsALoginByTheNameThatWasRightOnly) {
  std::string password;
  visitors_.accounts.add("erika", Role::user, &password);
  post("/do/login", "name=my+password&password=x", "/login.html");
  const Response response = post("/do/login", "name=erika&password=" + password, "/login.html");
  EXPECT_EQ(response.status, 303);
  EXPECT_EQ(audit(), (std::vector<std::string>{
                         " 192.0.2.1 login : refused: The name or the password is not right. Type "
                         "both again.",
                         "erika 192.0.2.1 login : done"}));
}

TEST_F(ServiceTest, ShowsNoSecretAgain) {
  log_in(Role::user);
  const Response response =
      post("/do/password", "old=secret1&new=secret2&repeat=secret3&NextPage=/x");
  EXPECT_EQ(response.status, 422);
  EXPECT_EQ(between(response.body, "json\">", "</script>"),
            "{\"status\":422,\"fields\":[{\"name\":\"NextPage\",\"value\":\"/x\"}],"
            "\"conflicts\":[],\"field\":\"repeat\"}");
  EXPECT_EQ(response.body.find("secret"), std::string::npos);
}

TEST_F(ServiceTest, GivesACookieOnlyWithAToken) {
  write("plain.html", "x");
  cookie_ = "none";
  EXPECT_EQ(header(get("/plain.html"), "Set-Cookie"), "");
  EXPECT_NE(header(get("/index.html"), "Set-Cookie"), "");
  cookie_ = new_cookie();
  EXPECT_EQ(header(get("/index.html"), "Set-Cookie"), "");
}

TEST_F(ServiceTest, MarksItsCookiesSecureOverTls) {
  Request request;
  request.method = "GET";
  request.path = "/index.html";
  request.secure = true;
  EXPECT_TRUE(header(service_->serve(request), "Set-Cookie").ends_with("; Secure"));
}

TEST_F(ServiceTest, TellsThatItsDatabaseCannotBeUsed) {
  Service service(pages_, module_, root_ + "/none/database", "/history");
  Request request;
  request.method = "GET";
  request.path = "/index.html";
  const Response response = service.serve(request);
  EXPECT_EQ(response.status, 500);
  EXPECT_NE(response.body.find("The database of the device cannot be used."), std::string::npos);
  EXPECT_EQ(module_double().log,
            (std::vector<std::string>{"3 service.cpp /index.html: " + root_ +
                                      "/none/database: No such file or directory; its directory "
                                      "must exist and be writable"}));
}

}  // namespace
}  // namespace platen
