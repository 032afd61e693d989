// Any bytes parse or are refused; what parses is written back byte for byte, and after an edit the
// result reads as the edited content.
// SPDX-License-Identifier: MIT
#include "template_syntax.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <list>
#include <memory_resource>
#include <string>
#include <string_view>

#include "template_document.h"

namespace {

using store::Document;
using store::Edit;
using store::Entries;
using store::Entry;
using store::Operation;
using store::Text;

void require(bool law) {
  if (!law) std::abort();
}

bool equal(const Entries& left, const Entries& right) {
  if (left.size() != right.size()) return false;
  for (std::size_t i = 0; i < left.size(); ++i) {
    const Entry& a = left[i];
    const Entry& b = right[i];
    bool same = a.kind == b.kind && a.compulsory == b.compulsory &&
                a.text.decoded() == b.text.decoded() && a.type.decoded() == b.type.decoded();
    if (!same) return false;
  }
  return true;
}

void require_reads_as(const std::string& bytes, const Entries& expected) {
  std::pmr::monotonic_buffer_resource memory;
  Entries entries(&memory);
  require(store::parse(bytes, entries).ok());
  require(equal(entries, expected));
}

// Takes fields that end with a NUL from the front of the input.
class Fields {
 public:
  explicit Fields(std::string_view input) : rest_(input) {}
  std::string_view next() {
    std::string_view field = rest_.substr(0, rest_.find('\0'));
    rest_.remove_prefix(std::min(rest_.size(), field.size() + 1));
    return field;
  }
  [[nodiscard]] bool empty() const { return rest_.empty(); }

 private:
  std::string_view rest_;
};

Edit take_edit(Fields& fields) {
  Edit edit;
  std::string_view head = fields.next();
  auto byte = head.empty() ? 0U : static_cast<unsigned char>(head[0]);
  constexpr auto kOperations = static_cast<unsigned>(Operation::kCreateInvocation) + 1;
  edit.operation = static_cast<Operation>(byte % kOperations);
  edit.mark = static_cast<store::Mark>(byte / kOperations % 3);
  edit.service = fields.next();
  edit.invocation = (byte & 0x80) != 0 ? std::string_view() : fields.next();
  edit.attribute = fields.next();
  edit.type = (byte & 0x40) != 0 ? std::string_view() : fields.next();
  edit.value = fields.next();
  if (edit.type.empty()) edit.type = {};
  return edit;
}

bool is_valid(const Edit& edit) {
  bool creates = edit.operation == Operation::kCreateInvocation;
  bool named = creates ? !edit.invocation.empty() : !edit.attribute.empty();
  return !edit.service.empty() && named && (!edit.invocation.data() || !edit.invocation.empty()) &&
         edit.invocation.size() <= store::kMaxInvocationName;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// The input is a file, and after a form feed and a NUL the edits.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using std::string_view_literals::operator""sv;
  std::string_view input(reinterpret_cast<const char*>(data), size);
  std::size_t cut = std::min(input.find("\f\0"sv), input.size());
  std::string bytes(input.substr(0, cut));
  std::pmr::monotonic_buffer_resource memory;
  Document document(&memory);
  store::Status status = store::parse(bytes, document.entries());
  require(status.ok() || (status.line > 0 && status.column > 0 && status.reason));
  if (!status.ok()) return 0;
  Entries before = document.entries();
  require(store::render(bytes, before, before) == bytes);
  Fields fields(input.substr(std::min(cut + 2, input.size())));
  while (!fields.empty()) {
    Edit edit = take_edit(fields);
    if (is_valid(edit)) static_cast<void>(document.apply(edit, store::Absent::kRecreate));
  }
  document.adopt(before);
  std::string result = store::render(bytes, before, document.entries());
  require_reads_as(result, document.entries());
  std::list<std::string> texts;
  Entries fresh = document.entries();
  for (Entry& entry : fresh) {
    entry.ordinal = Entry::kNew;
    for (Text* text : {&entry.text, &entry.type}) {
      *text = Text::plain(texts.emplace_back(text->decoded()));
    }
  }
  require_reads_as(store::render("", Entries(), fresh), fresh);
  return 0;
}
