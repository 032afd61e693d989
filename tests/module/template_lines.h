// Lines of the journal when a template is opened and closed.
// SPDX-License-Identifier: MIT
#ifndef TESTS_MODULE_TEMPLATE_LINES_H_
#define TESTS_MODULE_TEMPLATE_LINES_H_

#include <string>

#include "journal.h"

// An open that succeeds.
inline Lines opening(const std::string& path, int mode) {
  return {"log " + entered("HTTP_Open_Parser_fn"),
          "log " + parser_log(102, "Allocing memory for udata->parserTemplate."),
          "log " + parser_log(102, "template file path = " + path),
          "CKwtTemplate(tpl)",
          "Open(tpl, '" + path + "', " + std::to_string(mode) + ")",
          "log " + parser_log(100, "HTTP_Open_Parser_fn Successful."),
          "log " + left("HTTP_Open_Parser_fn")};
}

// A close; `page` is what it prints, if anything.
inline Lines closing(int save, const std::string& page = "") {
  Lines lines = {"log " + entered("HTTP_Close_Parser_fn"), "GetFileName(tpl)"};
  if (!page.empty()) lines.push_back("page " + page);
  return joined({lines,
                 {"Close(tpl, " + std::to_string(save) + ")", "DestructorCKwtTemplate(tpl)",
                  "log " + parser_log(100, "HTTP_Close_Parser_fn Successful."),
                  "log " + left("HTTP_Close_Parser_fn")}});
}

inline std::string hidden_field(const std::string& path) {
  return "<input type=\"hidden\" name=\"DefaultParserFilename\" value=\"" + path + "\">";
}

#endif  // TESTS_MODULE_TEMPLATE_LINES_H_
