// The content of a template: services, invocations, attributes, values, and how edits apply.
// SPDX-License-Identifier: MIT
#ifndef STORE_TEMPLATE_DOCUMENT_H_
#define STORE_TEMPLATE_DOCUMENT_H_

#include <cstddef>
#include <cstdint>
#include <memory_resource>
#include <string>
#include <string_view>
#include <vector>

#include "template_status.h"
#include "template_text.h"

#pragma GCC visibility push(hidden)

namespace store {

inline constexpr std::size_t kMaxInvocationName = 255;
inline constexpr std::size_t kNotFound = static_cast<std::size_t>(-1);

// In order of nesting: what belongs to an entry follows it and has a greater kind.
enum class Kind : std::uint8_t { kService, kInvocation, kAttribute, kValue };

// One service, invocation, attribute or value. Texts are borrowed from the file's bytes or an edit.
struct Entry {
  static constexpr std::uint32_t kNew = UINT32_MAX;

  Text text;                     // the name, or the value
  Text type;                     // of an attribute
  std::uint32_t ordinal = kNew;  // place among the entries that were read from the file
  std::uint32_t cursor = 0;      // of an attribute: values handed out by the current walk, 0 = none
  Kind kind = Kind::kService;
  bool compulsory = false;         // of an attribute
  bool on_attribute_line = false;  // of a value that was read from its attribute's own line

  [[nodiscard]] bool is_new() const { return ordinal == kNew; }
};

using Entries = std::pmr::vector<Entry>;

enum class Operation : std::uint8_t {
  kSet,
  kAdd,
  kRemoveValue,
  kRemoveAttribute,
  kRemoveAttributeEverywhere,
  kRemoveInvocation,
  kRemoveService,
  kCreateInvocation,
};

enum class Mark : std::uint8_t { kKeep, kClear, kSet };

// One edit. A view without data was not given: no invocation is the first one, no type keeps it.
struct Edit {
  Operation operation = Operation::kSet;
  std::string_view service;
  std::string_view invocation;
  std::string_view attribute;
  std::string_view type;
  std::string_view value;
  Mark mark = Mark::kKeep;
};

// How an edit treats an invocation that is not there: strictly while a user edits, and so that no
// update is lost when edits are replayed over a file that somebody else has changed meanwhile.
enum class Absent : std::uint8_t { kRefuse, kRecreate };

// The entries of one template in file order. Entries borrow the texts of the edits applied, so an
// edit's texts must live as long as the document.
class Document {
 public:
  explicit Document(std::pmr::memory_resource* memory) : entries_(memory) {}

  Entries& entries() { return entries_; }
  [[nodiscard]] const Entries& entries() const { return entries_; }

  // Returns the service's index, or kNotFound.
  [[nodiscard]] std::size_t find_service(std::string_view service) const;
  // Returns the index past everything that belongs to the entry at `index`.
  [[nodiscard]] std::size_t end_of(std::size_t index) const;

  // Returns the attribute's first value, or the one after the value returned last; null = none.
  const Text* read(std::string_view service, std::string_view invocation,
                   std::string_view attribute, bool first);

  // Applies the edit whole, or not at all and tells why.
  Status apply(const Edit& edit, Absent absent);
  // Applies a log of edits, each accepted before, to content that may have changed since. An
  // invocation whose name was taken meanwhile gets the next one, in its later edits as well.
  void replay(const std::pmr::vector<Edit>& log);
  // Takes entries that were removed and written again for the old ones at their place, so that
  // their lines need no change. `before` is what was read, ahead of all edits.
  void adopt(const Entries& before);

  // Returns the name that a new invocation of the service gets: the service's own, cut to fit, and
  // the lowest number that is free.
  [[nodiscard]] std::string free_invocation_name(std::string_view service) const;
  [[nodiscard]] bool has_invocation(std::string_view service, std::string_view invocation) const;

 private:
  struct Address {
    std::size_t service = kNotFound;
    std::size_t invocation = kNotFound;
    std::size_t attribute = kNotFound;
  };

  [[nodiscard]] std::size_t find_from(std::size_t begin, Kind kind, std::string_view name) const;
  [[nodiscard]] Address find(std::string_view service, std::string_view invocation,
                             std::string_view attribute) const;
  [[nodiscard]] bool is_at(const Address& address, std::string_view service,
                           std::string_view invocation, std::string_view attribute) const;
  void make_room();
  std::size_t insert(std::size_t index, Kind kind, std::string_view text);
  void erase(std::size_t begin, std::size_t end);
  std::string_view keep(const std::string& text);
  std::size_t add_invocation(const Edit& edit);
  std::size_t invocation_to_write(const Edit& edit, const Address& address, Absent absent);
  Status write(const Edit& edit, Absent absent);
  void write_value(std::size_t attribute, const Edit& edit);
  Status create_invocation(const Edit& edit);
  Status remove(const Edit& edit);
  Status remove_value(std::size_t attribute, std::string_view value);
  Status remove_everywhere(const Edit& edit);
  Status remove_entry(std::size_t index);

  Entries entries_;
  Address last_read_;  // saves the search while the values of one attribute are walked
};

}  // namespace store

#pragma GCC visibility pop

#endif  // STORE_TEMPLATE_DOCUMENT_H_
