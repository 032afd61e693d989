// The error pages and their words.
// SPDX-License-Identifier: MIT
#include "error_page.h"

#include <algorithm>
#include <iterator>

#include "device/phrases.h"
#include "said.h"

namespace platen {
namespace {

struct StatusRow {
  int status;
  Sentence name;
  Sentence what;
  Sentence advice;
};

constexpr Sentence kTryAgain("Try again; if it happens every time, tell the administrator.");

constexpr StatusRow kErrors[] = {
    {400, Sentence("Bad Request"), Sentence("The address or the request cannot be understood."),
     Sentence("Check the address.")},
    {403, Sentence("Forbidden"), Sentence("This may not be shown."),
     Sentence("Go back to the start page.")},
    {404, Sentence("Not Found"), Sentence("There is no such page."),
     Sentence("Check the address.")},
    {405, Sentence("Method Not Allowed"), Sentence("This page can only be read."),
     Sentence("Go back to the start page.")},
    {408, Sentence("Request Timeout"), Sentence("The request did not arrive in time."), kTryAgain},
    {409, Sentence("Conflict"), Sentence("What was to be changed has changed meanwhile."),
     Sentence("Load the page again.")},
    {413, Sentence("Payload Too Large"), Sentence("What was sent is too large."),
     Sentence("Send less.")},
    {415, Sentence("Unsupported Media Type"), Sentence("What was sent is no form."),
     Sentence("Use the form of the page.")},
    {422, Sentence("Unprocessable Content"), Sentence("The request was refused."),
     Sentence("Check what was entered.")},
    {429, Sentence("Too Many Requests"), Sentence("There were too many tries."),
     Sentence("Try again later.")},
    {431, Sentence("Request Header Fields Too Large"),
     Sentence("The address or a cookie is too long."), Sentence("Use a shorter address.")},
    {500, Sentence("Internal Server Error"),
     Sentence("The page failed. Nothing more is known here; the log tells the cause."), kTryAgain},
    {503, Sentence("Service Unavailable"), Sentence("The device is too busy to answer."),
     Sentence("Try again in a moment.")},
    {504, Sentence("Gateway Timeout"), Sentence("The page took too long and was given up."),
     kTryAgain},
};
constexpr StatusRow kOtherError = {0, Sentence("Error"), Sentence("The request failed."),
                                   kTryAgain};

const StatusRow& row_of(int status) {
  const auto* row = std::ranges::find(kErrors, status, &StatusRow::status);
  return row == std::end(kErrors) ? kOtherError : *row;
}

std::string escape(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    switch (c) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      default:
        escaped += c;
    }
  }
  return escaped;
}

std::string paragraph(std::string_view text) {
  return text.empty() ? "" : "<p>" + escape(text) + "</p>\n";
}

std::string title_of(int status) {
  return std::to_string(status) + " " + said(row_of(status).name);
}

// What a page shows in the language that is spoken.
std::string content(int status, std::string_view what, std::string_view advice) {
  return "<h1>" + title_of(status) + "</h1>\n" + paragraph(what) + paragraph(advice) +
         "<p><a href=\"/\">" + said("Start page") + "</a></p>\n";
}

std::string content(int status) {
  const StatusRow& row = row_of(status);
  return content(status, said(row.what), said(row.advice));
}

Response page(int status, const std::string& text) {
  Response response;
  response.status = status;
  response.body = "<!DOCTYPE html>\n<html lang=\"" + spoken_language() +
                  "\">\n<head>\n<meta charset=\"utf-8\">\n"
                  "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
                  "<meta name=\"color-scheme\" content=\"light dark\">\n"
                  "<link rel=\"stylesheet\" href=\"/static/platen.css\">\n<title>" +
                  title_of(status) + "</title>\n</head>\n<body>\n<main>\n" + text +
                  "</main>\n</body>\n</html>\n";
  return response;
}

}  // namespace

std::string_view status_name(int status) {
  switch (status) {
    case 200:
      return "OK";
    case 303:
      return "See Other";
    default:
      return row_of(status).name.english();
  }
}

std::vector<int> error_statuses() {
  std::vector<int> statuses;
  for (const StatusRow& row : kErrors) statuses.push_back(row.status);
  return statuses;
}

Response error_response(int status, std::string_view what, std::string_view advice) {
  return page(status, content(status, what, advice));
}

Response error_response(int status) { return page(status, content(status)); }

Response error_response_for_all(int status) {
  std::string text = content(status);
  for (const std::string& code : languages()) {
    if (code == spoken_language()) continue;
    const Speaking language(code);
    text += "<section lang=\"" + code + "\">\n" + content(status) + "</section>\n";
  }
  return page(status, text);
}

}  // namespace platen
