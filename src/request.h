// Access to the request record: its form entries and its open template.
// SPDX-License-Identifier: MIT
#ifndef SRC_REQUEST_H_
#define SRC_REQUEST_H_

#include <cstddef>
#include <span>

#include "http_parser.h"
#include "templateWrapper.h"
#include "text.h"

#pragma GCC visibility push(hidden)

inline constexpr char kMetadataService[] = "qvn_dscrpt_metadata";

// Room for the name of a new invocation.
inline constexpr std::size_t kNewNameSize = 1000;

using FormEntries = std::span<FormEntry>;

// The form entries of a handler; a missing array or a negative count is an empty form.
inline FormEntries form_entries(FormEntry* entries, int count) {
  if (entries == nullptr || count < 0) return {};
  return {entries, static_cast<std::size_t>(count)};
}

inline FormEntries form_entries(const QVN_AppData& request) {
  return form_entries(request.entries, request.num_entries);
}

// Returns the first entry of that name, or null.
inline FormEntry* first_entry(FormEntries entries, const char* name) {
  for (FormEntry& entry : entries) {
    if (equals(entry.name, name)) return &entry;
  }
  return nullptr;
}

// Returns the last entry of that name, or null.
inline FormEntry* last_entry(FormEntries entries, const char* name) {
  FormEntry* last = nullptr;
  for (FormEntry& entry : entries) {
    if (equals(entry.name, name)) last = &entry;
  }
  return last;
}

// Returns the value of the last entry of that name, or null.
inline char* last_value(FormEntries entries, const char* name) {
  const FormEntry* entry = last_entry(entries, name);
  return entry != nullptr ? entry->val : nullptr;
}

inline TemplateObject* open_template(const QVN_AppData& request) {
  return static_cast<TemplateObject*>(request.parserTemplate);
}

// Tells whether the request's template was opened from its file: one that could not be opened stays
// in the record too. The store is not asked.
inline bool has_opened_template(const QVN_AppData& request) {
  const TemplateObject* tpl = open_template(request);
  return tpl != nullptr && tpl->m_erno == KWT_SUCCESS;
}

enum class Changes { discard, save };

// Closes the open template as a page's tag does.
inline void close_template(QVN_AppData* udata, Changes changes) {
  char save[] = "TRUE";
  char discard[] = "FALSE";
  HTTP_Close_Parser_fn(udata, changes == Changes::save ? save : discard);
}

#pragma GCC visibility pop

#endif  // SRC_REQUEST_H_
