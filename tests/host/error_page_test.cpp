// Tests of the plain pages that tell what went wrong.
// SPDX-License-Identifier: MIT
#include "error_page.h"

#include <gtest/gtest.h>

#include "said.h"

namespace platen {
namespace {

std::string main_of(const Response& response) {
  const size_t begin = response.body.find("<main>");
  return response.body.substr(begin, response.body.find("</main>") - begin);
}

TEST(ErrorPage, TellsAndEscapesWhatWentWrong) {
  const Response response = error_response(404, "No <b> & c.", "");
  EXPECT_EQ(response.status, 404);
  EXPECT_NE(response.body.find("<html lang=\"en-us\">"), std::string::npos);
  EXPECT_EQ(main_of(response),
            "<main>\n<h1>404 Not Found</h1>\n<p>No &lt;b&gt; &amp; c.</p>\n"
            "<p><a href=\"/\">Start page</a></p>\n");
}

TEST(ErrorPage, IsInTheLanguageThatIsSpoken) {
  const Speaking german("de-de");
  EXPECT_NE(error_response(404).body.find("<html lang=\"de-de\">"), std::string::npos);
}

TEST(ErrorPage, LooksLikeTheOtherPages) {
  EXPECT_NE(error_response(404).body.find("<link rel=\"stylesheet\" href=\"/static/platen.css\">"),
            std::string::npos);
}

TEST(ErrorPage, ForAllHasEveryLanguage) {
  const std::string english =
      "<h1>413 Payload Too Large</h1>\n<p>What was sent is too large.</p>\n<p>Send less.</p>\n"
      "<p><a href=\"/\">Start page</a></p>\n";
  EXPECT_EQ(main_of(error_response_for_all(413)),
            "<main>\n" + english + "<section lang=\"de-de\">\n" + english + "</section>\n");
  EXPECT_EQ(spoken_language(), "en-us");
}

TEST(ErrorPage, AnUnusedStatusIsAnError) {
  EXPECT_EQ(status_name(418), "Error");
  EXPECT_EQ(status_name(303), "See Other");
}

}  // namespace
}  // namespace platen
