// The request record that parser functions get, with what the host keeps beside it.
// SPDX-License-Identifier: MIT
#ifndef HOST_REQUEST_RECORD_H_
#define HOST_REQUEST_RECORD_H_

#include <cstdarg>
#include <string>
#include <vector>

#include "http_message.h"
#include "http_parser.h"
#include "output_format.h"

namespace platen {

// What one tag prints: renders the values that its function hands to adiprintf().
class TagOutput {
 public:
  TagOutput(const ParserFunction& function, Format format) : function_(function), format_(format) {}

  // Returns the text to append to the page for one call of adiprintf(). In the format json the
  // items are only gathered, as the row of the print says. A print that the function's row does not
  // list is a fault of the page, as nothing is known about its values: nothing is printed then.
  // Memory that runs out ends the process.
  // NOLINTNEXTLINE(bugprone-exception-escape): what is thrown nevertheless has to end the process.
  std::string print(const char* format, va_list& values) noexcept;

  // Returns the text that follows the last print: the gathered items as a JSON array.
  std::string finish() const;

  // Why the page cannot be shown; empty = it can.
  const std::string& fault() const { return fault_; }

 private:
  std::string printed_text(std::string_view text, Value kind, Json* items);
  void gather(const Print& print, Json items, int counter);
  std::string php_value(std::string_view text);

  const ParserFunction& function_;
  Format format_;
  Json items_ = Json::array();
  PhpStatement statement_;
  std::string fault_;
};

// A request record with its form entries. Every record that a parser function gets is one of these.
struct RequestRecord : QVN_AppData {
  // Fills the entries from `fields`, in their order; every name and value is a malloc block of its
  // own. A language that does not fit is cut.
  RequestRecord(const std::vector<Field>& fields, const std::string& language);
  ~RequestRecord();
  RequestRecord(const RequestRecord&) = delete;
  RequestRecord& operator=(const RequestRecord&) = delete;

  TagOutput* tag = nullptr;  // the tag being expanded, or null

 private:
  std::vector<FormEntry> form_entries_;
};

}  // namespace platen

#endif  // HOST_REQUEST_RECORD_H_
