// The rules of a template's content: finding, reading, writing, removing, replaying.
// SPDX-License-Identifier: MIT
#include "template_document.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace store {
namespace {

constexpr std::string_view kDefaultType = "string";
constexpr std::size_t kMostEntriesOfOneEdit = 4;  // service, invocation, attribute, value

bool given(std::string_view text) { return text.data() != nullptr; }

Status refused(const char* reason) { return {Code::kAbsent, 0, reason, 0, 0}; }

// Cuts `name` to at most `size` bytes without splitting a UTF-8 character.
std::string_view cut(std::string_view name, std::size_t size) {
  if (name.size() <= size) return name;
  while (size > 0 && (static_cast<unsigned char>(name[size]) & 0xC0) == 0x80) --size;
  return name.substr(0, size);
}

std::string numbered(std::string_view service, std::size_t number) {
  std::string tail = "_" + std::to_string(number);
  return std::string(cut(service, kMaxInvocationName - tail.size())) + tail;
}

// Returns the number at the end of a name as numbered() makes them, or 0.
std::size_t number_of(const std::string& name, std::string_view service) {
  std::size_t bar = name.rfind('_');
  if (bar == std::string::npos) return 0;
  std::size_t number = 0;
  auto [end, error] = std::from_chars(name.data() + bar + 1, name.data() + name.size(), number);
  bool whole = error == std::errc() && end == name.data() + name.size();
  return whole && number > 0 && numbered(service, number) == name ? number : 0;
}

// Returns the first entry in [begin, end) that has the kind and text of `wanted`, without leaving
// the parent of the entry at `begin`.
std::size_t find_equal(const Entries& entries, std::size_t begin, std::size_t end,
                       const Entry& wanted) {
  for (std::size_t i = begin; i < end && entries[i].kind >= wanted.kind; ++i) {
    if (entries[i].kind == wanted.kind && entries[i].text.equals(wanted.text.raw())) return i;
  }
  return kNotFound;
}

}  // namespace

std::size_t Document::find_from(std::size_t begin, Kind kind, std::string_view name) const {
  for (std::size_t i = begin; i < entries_.size() && entries_[i].kind >= kind; ++i) {
    const Entry& entry = entries_[i];
    if (entry.kind == kind && (!given(name) || entry.text.equals(name))) return i;
  }
  return kNotFound;
}

std::size_t Document::find_service(std::string_view service) const {
  return given(service) ? find_from(0, Kind::kService, service) : kNotFound;
}

std::size_t Document::end_of(std::size_t index) const {
  Kind kind = entries_[index].kind;
  std::size_t end = index + 1;
  while (end < entries_.size() && entries_[end].kind > kind) ++end;
  return end;
}

Document::Address Document::find(std::string_view service, std::string_view invocation,
                                 std::string_view attribute) const {
  Address found;
  found.service = find_service(service);
  if (found.service == kNotFound) return found;
  found.invocation = find_from(found.service + 1, Kind::kInvocation, invocation);
  if (found.invocation == kNotFound || !given(attribute)) return found;
  found.attribute = find_from(found.invocation + 1, Kind::kAttribute, attribute);
  return found;
}

bool Document::has_invocation(std::string_view service, std::string_view invocation) const {
  return find(service, invocation, {}).invocation != kNotFound;
}

bool Document::is_at(const Address& address, std::string_view service, std::string_view invocation,
                     std::string_view attribute) const {
  if (address.attribute == kNotFound || !given(service) || !given(attribute)) return false;
  bool same_invocation = given(invocation) ? entries_[address.invocation].text.equals(invocation)
                                           : address.invocation == address.service + 1;
  return same_invocation && entries_[address.attribute].text.equals(attribute) &&
         entries_[address.service].text.equals(service);
}

const Text* Document::read(std::string_view service, std::string_view invocation,
                           std::string_view attribute, bool first) {
  if (!given(attribute)) return nullptr;
  if (!is_at(last_read_, service, invocation, attribute)) {
    last_read_ = find(service, invocation, attribute);
  }
  if (last_read_.attribute == kNotFound) return nullptr;
  std::uint32_t& cursor = entries_[last_read_.attribute].cursor;
  if (!first && cursor == 0) return nullptr;
  if (first) cursor = 0;
  std::size_t next = last_read_.attribute + 1 + cursor;
  if (next >= entries_.size() || entries_[next].kind != Kind::kValue) {
    cursor = 0;
    return nullptr;
  }
  ++cursor;
  return &entries_[next].text;
}

std::string Document::free_invocation_name(std::string_view service) const {
  std::size_t begin = find_service(service);
  std::size_t end = begin == kNotFound ? kNotFound : end_of(begin);
  std::vector<bool> taken(end - begin + 2);
  for (std::size_t i = begin; i != end; ++i) {
    if (entries_[i].kind != Kind::kInvocation) continue;
    std::size_t number = number_of(entries_[i].text.decoded(), service);
    if (number < taken.size()) taken[number] = true;
  }
  auto free = std::find(taken.begin() + 1, taken.end(), false);
  return numbered(service, static_cast<std::size_t>(free - taken.begin()));
}

// After this, an edit inserts its entries without an allocation that could fail half-way.
void Document::make_room() {
  if (entries_.capacity() - entries_.size() < kMostEntriesOfOneEdit) {
    entries_.reserve(entries_.capacity() * 2 + kMostEntriesOfOneEdit);
  }
}

std::size_t Document::insert(std::size_t index, Kind kind, std::string_view text) {
  Entry entry;
  entry.text = Text::plain(text);
  entry.kind = kind;
  entries_.insert(entries_.begin() + static_cast<std::ptrdiff_t>(index), entry);
  return index;
}

void Document::erase(std::size_t begin, std::size_t end) {
  entries_.erase(entries_.begin() + static_cast<std::ptrdiff_t>(begin),
                 entries_.begin() + static_cast<std::ptrdiff_t>(end));
}

std::string_view Document::keep(const std::string& text) {
  std::pmr::polymorphic_allocator<char> allocator(entries_.get_allocator().resource());
  char* copy = allocator.allocate(text.size());
  text.copy(copy, text.size());
  return {copy, text.size()};
}

std::size_t Document::add_invocation(const Edit& edit) {
  std::string_view name =
      given(edit.invocation) ? edit.invocation : keep(free_invocation_name(edit.service));
  std::size_t service = find_service(edit.service);
  if (service == kNotFound) service = insert(entries_.size(), Kind::kService, edit.service);
  return insert(end_of(service), Kind::kInvocation, name);
}

std::size_t Document::invocation_to_write(const Edit& edit, const Address& address, Absent absent) {
  if (address.invocation != kNotFound) return address.invocation;
  if (given(edit.invocation) && absent == Absent::kRefuse) return kNotFound;
  return add_invocation(edit);
}

Status Document::write(const Edit& edit, Absent absent) {
  Address address = find(edit.service, edit.invocation, edit.attribute);
  std::size_t invocation = invocation_to_write(edit, address, absent);
  if (invocation == kNotFound) return refused("the service has no such invocation");
  std::size_t attribute = address.attribute;
  if (attribute == kNotFound) {
    attribute = insert(end_of(invocation), Kind::kAttribute, edit.attribute);
    entries_[attribute].type = Text::plain(kDefaultType);
  }
  write_value(attribute, edit);
  return {};
}

void Document::write_value(std::size_t attribute, const Edit& edit) {
  Entry& entry = entries_[attribute];
  if (given(edit.type) && !entry.type.equals(edit.type)) entry.type = Text::plain(edit.type);
  if (edit.mark != Mark::kKeep) entry.compulsory = edit.mark == Mark::kSet;
  entry.cursor = 0;
  std::size_t first = attribute + 1;
  std::size_t end = end_of(attribute);
  if (edit.operation == Operation::kAdd || first == end) {
    insert(end, Kind::kValue, edit.value);
    return;
  }
  if (!entries_[first].text.equals(edit.value)) entries_[first].text = Text::plain(edit.value);
  erase(first + 1, end);
}

Status Document::create_invocation(const Edit& edit) {
  if (has_invocation(edit.service, edit.invocation)) return refused("the name is already taken");
  add_invocation(edit);
  return {};
}

Status Document::remove_entry(std::size_t index) {
  if (index == kNotFound) return refused("there is nothing of that name");
  erase(index, end_of(index));
  return {};
}

Status Document::remove_value(std::size_t attribute, std::string_view value) {
  if (attribute == kNotFound) return refused("there is no such attribute");
  std::size_t end = end_of(attribute);
  for (std::size_t i = attribute + 1; i < end; ++i) {
    if (!entries_[i].text.equals(value)) continue;
    entries_[attribute].cursor = 0;
    erase(i, i + 1);
    return {};
  }
  return refused("the attribute has no such value");
}

Status Document::remove_everywhere(const Edit& edit) {
  std::size_t service = find_service(edit.service);
  if (service == kNotFound) return refused("there is no such service");
  std::size_t end = end_of(service);
  std::size_t kept = service + 1;
  bool dropping = false;
  for (std::size_t i = kept; i < end; ++i) {
    const Entry& entry = entries_[i];
    if (entry.kind != Kind::kValue) {
      dropping = entry.kind == Kind::kAttribute && entry.text.equals(edit.attribute);
    }
    if (!dropping) entries_[kept++] = entry;
  }
  if (kept == end) return refused("there is no such attribute");
  erase(kept, end);
  return {};
}

Status Document::remove(const Edit& edit) {
  Address address = find(edit.service, edit.invocation, edit.attribute);
  switch (edit.operation) {
    case Operation::kRemoveValue:
      return remove_value(address.attribute, edit.value);
    case Operation::kRemoveAttribute:
      return remove_entry(address.attribute);
    case Operation::kRemoveInvocation:
      return remove_entry(address.invocation);
    case Operation::kRemoveService:
      return remove_entry(address.service);
    default:
      return remove_everywhere(edit);
  }
}

Status Document::apply(const Edit& edit, Absent absent) {
  last_read_ = {};
  make_room();
  switch (edit.operation) {
    case Operation::kSet:
    case Operation::kAdd:
      return write(edit, absent);
    case Operation::kCreateInvocation:
      return create_invocation(edit);
    default:
      return remove(edit);
  }
}

void Document::replay(const std::pmr::vector<Edit>& log) {
  struct Created {
    std::string_view service, logged_name, name;
  };
  std::vector<Created> created;
  for (Edit edit : log) {
    if (edit.operation == Operation::kCreateInvocation) {
      bool taken = has_invocation(edit.service, edit.invocation);
      created.push_back({edit.service, edit.invocation,
                         taken ? keep(free_invocation_name(edit.service)) : edit.invocation});
    }
    auto own = std::find_if(created.rbegin(), created.rend(), [&](const Created& row) {
      return given(edit.invocation) && row.logged_name == edit.invocation &&
             row.service == edit.service;
    });
    if (own != created.rend()) edit.invocation = own->name;
    static_cast<void>(apply(edit, Absent::kRecreate));  // what is gone already needs no removal
  }
}

void Document::adopt(const Entries& before) {
  std::vector<std::size_t> limits(entries_.size());  // by entry: the next ordinal that is in use
  std::size_t limit = before.size();
  for (std::size_t i = entries_.size(); i-- > 0;) {
    limits[i] = limit;
    if (!entries_[i].is_new()) limit = entries_[i].ordinal;
  }
  std::array<std::size_t, 5> children = {};  // by kind: where those of the present parent begin
  std::size_t unused = 0;                    // first ordinal that may still be given
  for (std::size_t i = 0; i < entries_.size(); ++i) {
    Entry& entry = entries_[i];
    auto kind = static_cast<std::size_t>(entry.kind);
    if (entry.is_new() && children[kind] != kNotFound) {
      std::size_t begin = std::max(unused, children[kind]);
      std::size_t equal = find_equal(before, begin, limits[i], entry);
      if (equal != kNotFound) entry.ordinal = static_cast<std::uint32_t>(equal);
    }
    // Lines of a new service come at the end of the file, so nothing old can follow it.
    if (entry.is_new() && entry.kind == Kind::kService) return;
    children[kind + 1] = entry.is_new() ? kNotFound : entry.ordinal + std::size_t{1};
    if (!entry.is_new()) unused = children[kind + 1];
  }
}

}  // namespace store
