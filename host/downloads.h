// The files that a visitor may keep: GET /download/NAME.
// SPDX-License-Identifier: MIT
#ifndef HOST_DOWNLOADS_H_
#define HOST_DOWNLOADS_H_

#include <string>
#include <string_view>

#include "http_message.h"
#include "parser_module.h"
#include "template_history.h"
#include "visit.h"

namespace platen {

// What a download may use. The request's query fields are those that policy allows its path.
struct DownloadContext {
  const Request& request;
  const ParserModule& module;
  Visitors& visitors;
  Visit& visit;
  const TemplateHistory& history;
};

// One kind of file. Who may have it, and with which query fields, stands in the table of pages in
// policy.cpp, under the same path.
struct Download {
  std::string_view path;
  Response (*make)(const DownloadContext& context);  // an error page when there is nothing to give
};

// The row of a path, or null.
const Download* find_download(std::string_view path);

// The response that makes a browser keep `bytes` under the file name `name`, which may hold any
// character but a slash.
Response attachment(const std::string& name, std::string_view content_type, std::string bytes);

}  // namespace platen

#endif  // HOST_DOWNLOADS_H_
