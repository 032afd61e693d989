// The request record, and the response writer that parser functions print with.
// SPDX-License-Identifier: MIT
#include "request_record.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include "clone_groups.h"
#include "platform/server.h"

namespace platen {
namespace {

const Print* find_print(const ParserFunction& function, std::string_view format) {
  const auto found = std::ranges::find(function.prints, format, &Print::format);
  return found == function.prints.end() ? nullptr : &*found;
}

char* malloc_text(const std::string& text) {
  auto* copy = static_cast<char*>(std::malloc(text.size() + 1));
  if (copy == nullptr) throw std::bad_alloc();
  std::memcpy(copy, text.c_str(), text.size() + 1);
  return copy;
}

}  // namespace

std::string TagOutput::printed_text(std::string_view text, Value kind, Json* items) {
  switch (format_) {
    case Format::html:
      return html_text(text);
    case Format::js:
      return script_text(text, kind);
    case Format::json:
      if (kind != Value::separator) items->push_back(json_item(text, kind));
      return "";
    case Format::php:
      return php_value(text);
    case Format::none:
      break;
  }
  return "";
}

std::string TagOutput::php_value(std::string_view text) {
  std::optional<std::string> value = statement_.value(text);
  if (value) return *std::move(value);
  fault_ = std::string(function_.name) + " printed \"" + std::string(text) +
           "\" as PHP, which outside quotes may be a name or a number only";
  return "";
}

void TagOutput::gather(const Print& print, Json items, int counter) {
  switch (print.gather) {
    case Gather::items:
      for (Json& item : items) items_.push_back(std::move(item));
      break;
    case Gather::record:
      items_.push_back(std::move(items));
      break;
    case Gather::groups:
      items_ = clone_groups(items[0].get_ref<const std::string&>());
      break;
    case Gather::member:
      items_[static_cast<size_t>(counter)][print.member] = std::move(items[0]);
      break;
  }
}

// NOLINTNEXTLINE(bugprone-exception-escape): see its declaration.
std::string TagOutput::print(const char* format, va_list& values) noexcept {
  const Print* row = find_print(function_, format);
  if (row == nullptr) {
    fault_ = std::string(function_.name) + " printed with the unknown format \"" + format + "\"";
    return "";
  }
  constexpr size_t kConversion = 2;  // the length of "%s" and of "%d"
  std::string_view rest = row->format;
  std::string out;
  Json items;
  int counter = 0;
  for (const Value kind : row->values) {
    const size_t conversion = rest.find('%');
    out += statement_.pass(rest.substr(0, conversion));
    if (kind == Value::counter) {
      counter = va_arg(values, int);  // NOLINT(clang-analyzer-valist.Uninitialized): the caller's
      out += std::to_string(counter);
    } else {
      // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): the caller's
      const char* text = va_arg(values, const char*);
      out += printed_text(text == nullptr ? "" : text, kind, &items);
    }
    rest.remove_prefix(conversion + kConversion);
  }
  out += statement_.pass(rest);
  if (format_ != Format::json) return out;
  gather(*row, std::move(items), counter);
  return "";
}

std::string TagOutput::finish() const { return format_ == Format::json ? json_text(items_) : ""; }

RequestRecord::RequestRecord(const std::vector<Field>& fields, const std::string& language)
    : QVN_AppData{} {
  form_entries_.reserve(fields.size());
  for (const auto& [name, value] : fields) {
    FormEntry entry{};
    entry.name = malloc_text(name);
    entry.val = malloc_text(value);
    form_entries_.push_back(entry);
  }
  entries = form_entries_.data();
  num_entries = static_cast<int>(form_entries_.size());
  language.copy(preferredLang, sizeof preferredLang - 1);
}

RequestRecord::~RequestRecord() {
  for (const FormEntry& entry : form_entries_) {
    std::free(entry.name);
    std::free(entry.val);
  }
}

}  // namespace platen

int adiprintf(QVN_AppData* udata, const char* format, ...) {
  auto* record = static_cast<platen::RequestRecord*>(udata);
  if (record == nullptr || record->outfs == nullptr || record->tag == nullptr) return -1;
  va_list values;
  va_start(values, format);
  const std::string text = record->tag->print(format, values);
  va_end(values);
  if (!record->tag->fault().empty()) return -1;
  const size_t written = std::fwrite(text.data(), 1, text.size(), record->outfs);
  return written == text.size() ? static_cast<int>(written) : -1;
}
