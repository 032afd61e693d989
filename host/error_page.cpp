// The error pages and their words.
// SPDX-License-Identifier: MIT
#include "error_page.h"

#include <algorithm>

namespace platen {
namespace {

struct StatusRow {
  int status;
  std::string_view name;
  std::string_view what;
  std::string_view advice;
};

constexpr std::string_view kTryAgain =
    "Try again; if it happens every time, tell the administrator.";

constexpr StatusRow kStatuses[] = {
    {200, "OK", "", ""},
    {303, "See Other", "", ""},
    {400, "Bad Request", "The address or the request cannot be understood.", "Check the address."},
    {403, "Forbidden", "This may not be shown.", "Go back to the start page."},
    {404, "Not Found", "There is no such page.", "Check the address."},
    {405, "Method Not Allowed", "This page can only be read.", "Go back to the start page."},
    {408, "Request Timeout", "The request did not arrive in time.", kTryAgain},
    {409, "Conflict", "What was to be changed has changed meanwhile.", "Load the page again."},
    {413, "Payload Too Large", "What was sent is too large.", "Send less."},
    {415, "Unsupported Media Type", "What was sent is no form.", "Use the form of the page."},
    {422, "Unprocessable Content", "The request was refused.", "Check what was entered."},
    {429, "Too Many Requests", "There were too many tries.", "Try again later."},
    {431, "Request Header Fields Too Large", "The address or a cookie is too long.",
     "Use a shorter address."},
    {500, "Internal Server Error",
     "The page failed. Nothing more is known here; the log tells the cause.", kTryAgain},
    {503, "Service Unavailable", "The device is too busy to answer.", "Try again in a moment."},
    {504, "Gateway Timeout", "The page took too long and was given up.", kTryAgain},
};

const StatusRow* find_status(int status) {
  const auto* row = std::ranges::find(kStatuses, status, &StatusRow::status);
  return row == std::end(kStatuses) ? nullptr : row;
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

}  // namespace

std::string_view status_name(int status) {
  const StatusRow* row = find_status(status);
  return row == nullptr ? "Error" : row->name;
}

std::vector<int> error_statuses() {
  std::vector<int> statuses;
  for (const StatusRow& row : kStatuses) {
    if (row.status >= 400) {
      statuses.push_back(row.status);
    }
  }
  return statuses;
}

Response error_response(int status, std::string_view what, std::string_view advice) {
  const std::string title = std::to_string(status) + " " + std::string(status_name(status));
  Response response;
  response.status = status;
  response.body =
      "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
      "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
      "<meta name=\"color-scheme\" content=\"light dark\">\n<title>" +
      title + "</title>\n</head>\n<body>\n<main>\n<h1>" + title + "</h1>\n" + paragraph(what) +
      paragraph(advice) + "<p><a href=\"/\">Start page</a></p>\n</main>\n</body>\n</html>\n";
  return response;
}

Response error_response(int status) {
  const StatusRow* row = find_status(status);
  return row == nullptr ? error_response(status, "The request failed.", kTryAgain)
                        : error_response(status, row->what, row->advice);
}

}  // namespace platen
