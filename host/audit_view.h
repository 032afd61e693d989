// The audit trail for people: filtered, together with the changes of settings, as page data or file.
// SPDX-License-Identifier: MIT
#ifndef HOST_AUDIT_VIEW_H_
#define HOST_AUDIT_VIEW_H_

#include <string>
#include <string_view>
#include <vector>

#include "audit.h"
#include "http_message.h"
#include "output_format.h"

namespace platen {

// What the query fields of the audit page ask for.
struct AuditQuery {
  AuditFilter filter;
  int page = 1;           // counted from the newest entries
  bool as_lines = false;  // a file of JSON lines instead of CSV
};

// Reads the query fields, which policy has judged; an empty one asks for nothing.
AuditQuery audit_query(const std::vector<Field>& fields);

// The entries that match, newest first: those of the trail, and the device's record of settings that
// were changed, each with the action "setting" and the setting's key as its object.
// Throws DatabaseError.
std::vector<AuditEntry> audit_trail(Audit& audit, const AuditFilter& filter);

// One page of them for the script of the audit page: {"entries": [{"time", "login", "address",
// "action", "object", "outcome"}], "page", "hasOlder"}. Throws DatabaseError.
Json audit_page(Audit& audit, const AuditQuery& query);

// The entries as a table for spreadsheets: CSV in UTF-8 with its mark, times in UTC, no cell that a
// spreadsheet would take for a formula. Spreadsheets of countries that write numbers with a comma
// take ";" as the `separator` of cells, others ",".
std::string audit_csv(const std::vector<AuditEntry>& entries, std::string_view separator);

// The entries as JSON objects, one a line.
std::string audit_lines(const std::vector<AuditEntry>& entries);

}  // namespace platen

#endif  // HOST_AUDIT_VIEW_H_
