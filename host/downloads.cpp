// The table of downloads.
// SPDX-License-Identifier: MIT
#include "downloads.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "audit_view.h"
#include "next_page.h"
#include "output_format.h"
#include "platform/server.h"
#include "template_exchange.h"

namespace platen {
namespace {

Response audit_file(const DownloadContext& context) {
  const AuditQuery query = audit_query(context.request.query);
  const std::vector<AuditEntry> entries = audit_trail(context.visitors.audit, query.filter);
  if (query.as_lines) {
    return attachment("audit.jsonl", "application/x-ndjson; charset=utf-8", audit_lines(entries));
  }
  const char* separator =
      Server_Translate_Phrase("csv.separator?", context.visit.language().c_str());
  return attachment("audit.csv", "text/csv; charset=utf-8",
                    audit_csv(entries, separator == nullptr ? "," : separator));
}

constexpr Download kDownloads[] = {
    {"/download/audit", audit_file},
    {"/download/template", download_template},
};

}  // namespace

const Download* find_download(std::string_view path) {
  const auto* row = std::ranges::find(kDownloads, path, &Download::path);
  return row == std::end(kDownloads) ? nullptr : row;
}

Response attachment(const std::string& name, std::string_view content_type, std::string bytes) {
  Response response;
  response.content_type = content_type;
  response.headers.emplace_back(
      "Content-Disposition", "attachment; filename*=UTF-8''" + page_address(valid_utf8(name), {}));
  response.body = std::move(bytes);
  return response;
}

}  // namespace platen
