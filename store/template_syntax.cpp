// Reads a template line by line in one pass, and writes edits back by splicing single lines.
// SPDX-License-Identifier: MIT
#include "template_syntax.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <utility>
#include <vector>

namespace store {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kServiceWord = "service";
constexpr std::string_view kInvocationWord = "invocation";
constexpr std::string_view kCompulsoryWord = "compulsory";
constexpr std::string_view kIndents[] = {"", "  ", "    ",
                                         "     "};  // a value brings a blank itself

bool is_blank(char byte) { return byte == ' ' || byte == '\t'; }

const char* find_byte(const char* begin, const char* end, char byte) {
  const void* found = std::memchr(begin, byte, static_cast<std::size_t>(end - begin));
  return found ? static_cast<const char*>(found) : end;
}

const char* skip_blanks(const char* begin, const char* end) {
  while (begin != end && is_blank(*begin)) ++begin;
  return begin;
}

const char* trim_blanks(const char* begin, const char* end) {
  while (end != begin && is_blank(end[-1])) --end;
  return end;
}

// Returns where a line's text ends: before its line end and the blanks ahead of that.
const char* trim_line(const char* begin, const char* end) {
  if (end != begin && end[-1] == '\r') --end;
  return trim_blanks(begin, end);
}

std::string_view between(const char* begin, const char* end) {
  return {begin, static_cast<std::size_t>(end - begin)};
}

class Parser {
 public:
  Parser(std::string_view bytes, Entries& entries)
      : begin_(bytes.data()), end_(begin_ + bytes.size()), entries_(entries) {}

  Status run();

 private:
  bool line(const char* begin, const char* end);
  bool header(const char* begin, const char* end);
  bool attribute(const char* begin, const char* end);
  bool type(const char* begin, const char* end, Entry& entry);
  bool value(const char* equals, const char* end, bool on_attribute_line);
  bool text(const char* begin, const char* end, Text& out);
  bool lines();
  bool names_are_unique();
  Entry& add(Kind kind);
  bool fault(const char* at, const char* reason);

  const char* begin_;
  const char* end_;
  const char* backslash_ = nullptr;  // the next one at or after the text read last
  Entries& entries_;
  Kind deepest_ = Kind::kService;  // what the next line may be at most
  const char* fault_at_ = nullptr;
  const char* fault_reason_ = nullptr;
};

bool Parser::fault(const char* at, const char* reason) {
  fault_at_ = at;
  fault_reason_ = reason;
  return false;
}

Entry& Parser::add(Kind kind) {
  Entry& entry = entries_.emplace_back();
  entry.ordinal = static_cast<std::uint32_t>(entries_.size() - 1);
  entry.kind = kind;
  return entry;
}

bool Parser::text(const char* begin, const char* end, Text& out) {
  if (backslash_ < begin) backslash_ = find_byte(begin, end_, '\\');
  out.data = begin;
  out.size = static_cast<std::uint32_t>(end - begin);
  out.escaped = backslash_ < end;
  if (!out.escaped) return true;
  const char* bad = find_bad_escape(begin, end);
  return !bad || fault(bad, "unknown escape; a backslash itself is written \\\\");
}

bool Parser::value(const char* equals, const char* end, bool on_attribute_line) {
  if (deepest_ != Kind::kValue) return fault(equals, "a value needs an attribute above it");
  Entry& entry = add(Kind::kValue);
  entry.on_attribute_line = on_attribute_line;
  return text(skip_blanks(equals + 1, end), end, entry.text);
}

bool Parser::type(const char* begin, const char* end, Entry& entry) {
  const char* comma = find_byte(begin, end, ',');
  const char* type_begin = skip_blanks(begin, comma);
  const char* type_end = trim_blanks(type_begin, comma);
  if (type_begin == type_end) return fault(begin, "a type is missing here");
  if (comma != end) {
    const char* mark = skip_blanks(comma + 1, end);
    entry.compulsory = between(mark, trim_blanks(mark, end)) == kCompulsoryWord;
    if (!entry.compulsory) return fault(mark, "only \"compulsory\" may follow the type");
  }
  return text(type_begin, type_end, entry.type);
}

bool Parser::attribute(const char* begin, const char* end) {
  if (deepest_ < Kind::kAttribute) return fault(begin, "an attribute needs an invocation above it");
  const char* open = find_byte(begin, end, '(');
  if (open == end) return fault(begin, "this is no line of the form NAME (TYPE) = VALUE");
  const char* name_end = trim_blanks(begin, open);
  if (name_end == begin) return fault(begin, "a name is missing before the type");
  const char* close = find_byte(open, end, ')');
  if (close == end) return fault(open, "this parenthesis is not closed");
  Entry& entry = add(Kind::kAttribute);
  if (!text(begin, name_end, entry.text) || !type(open + 1, close, entry)) return false;
  deepest_ = Kind::kValue;
  const char* equals = skip_blanks(close + 1, end);
  if (equals == end) return true;
  if (*equals != '=') return fault(equals, "only \"=\" and a value may follow the type");
  return value(equals, end, true);
}

bool Parser::header(const char* begin, const char* end) {
  if (end[-1] != ']') return fault(end, "a line that begins with \"[\" ends with \"]\"");
  const char* word = skip_blanks(begin + 1, end - 1);
  const char* word_end = std::find_if(word, end - 1, is_blank);
  const char* name = skip_blanks(word_end, end - 1);
  const char* name_end = trim_blanks(name, end - 1);
  Kind kind = between(word, word_end) == kInvocationWord ? Kind::kInvocation : Kind::kService;
  if (kind == Kind::kService && between(word, word_end) != kServiceWord) {
    return fault(word, "only \"service\" or \"invocation\" may stand here");
  }
  if (kind > deepest_) return fault(begin, "an invocation needs a service above it");
  if (name == name_end) return fault(end - 1, "a name is missing here");
  Entry& entry = add(kind);
  if (!text(name, name_end, entry.text)) return false;
  if (kind == Kind::kInvocation && entry.text.size > kMaxInvocationName &&
      entry.text.decoded().size() > kMaxInvocationName) {
    return fault(name, "the name of an invocation has at most 255 bytes");
  }
  deepest_ = kind == Kind::kInvocation ? Kind::kAttribute : Kind::kInvocation;
  return true;
}

bool Parser::line(const char* begin, const char* end) {
  end = trim_line(begin, end);
  begin = skip_blanks(begin, end);
  if (begin == end || *begin == '#') return true;
  if (*begin == '[') return header(begin, end);
  if (*begin == '=') return value(begin, end, false);
  return attribute(begin, end);
}

std::uint64_t load_word(const char* bytes) {
  std::uint64_t word = 0;
  std::memcpy(&word, bytes, sizeof word);
  return word;
}

// Reads whole words; the last one overlaps the one before, so no byte is handled alone.
std::uint64_t hash_name(std::string_view name, std::uint64_t seed) {
  constexpr std::uint64_t kMultiplier = 0x9E3779B97F4A7C15;
  constexpr std::size_t kWord = sizeof(std::uint64_t);
  std::uint64_t hash = seed * kMultiplier + name.size();
  auto mix = [&](std::uint64_t word) { hash = (std::rotl(hash, 29) ^ word) * kMultiplier; };
  if (name.size() < kWord) {
    for (char byte : name) mix(static_cast<unsigned char>(byte));
    return hash;
  }
  for (std::size_t at = 0; at + kWord < name.size(); at += kWord) mix(load_word(&name[at]));
  mix(load_word(&name[name.size() - kWord]));
  return hash;
}

// Remembers names in a hash table, whose empty slots (a power of two, more than names) are given.
class NameTable {
 public:
  NameTable(const Entries& entries, std::uint32_t* slots, std::size_t count)
      : entries_(entries), slots_(slots), mask_(count - 1), shift_(std::countl_zero(mask_)) {}

  // Returns false when an entry before that at `index` has its name, kind and parent.
  bool add(std::size_t index) {
    const Entry& entry = entries_[index];
    auto kind = static_cast<std::size_t>(entry.kind);
    owners_[kind + 1] = index + 1;
    std::string decoded = entry.text.escaped ? entry.text.decoded() : std::string();
    std::string_view name = entry.text.escaped ? decoded : entry.text.raw();
    std::size_t slot = hash_name(name, owners_[kind]) >> shift_;
    for (; slots_[slot] != 0; slot = (slot + 1) & mask_) {
      const Entry& other = entries_[slots_[slot] - 1];
      bool same_owner = slots_[slot] > owners_[kind] && other.kind == entry.kind;
      if (same_owner && other.text.equals(name)) return false;
    }
    slots_[slot] = static_cast<std::uint32_t>(index + 1);
    return true;
  }

 private:
  const Entries& entries_;
  std::uint32_t* slots_;
  std::size_t mask_;
  int shift_;                               // the topmost bits of a hash are its best
  std::array<std::size_t, 4> owners_ = {};  // by kind: 1 + index of the present parent
};

bool Parser::names_are_unique() {
  constexpr std::size_t kSlotsOnStack = 2048;
  auto is_name = [](const Entry& entry) { return entry.kind != Kind::kValue; };
  auto names = static_cast<std::size_t>(std::count_if(entries_.begin(), entries_.end(), is_name));
  std::size_t count = std::bit_ceil(names * 2 + 2);
  std::array<std::uint32_t, kSlotsOnStack> near;
  std::vector<std::uint32_t> far;
  if (count > kSlotsOnStack) far.resize(count);
  std::uint32_t* slots = count > kSlotsOnStack ? far.data() : near.data();
  std::fill_n(slots, count, 0);
  NameTable table(entries_, slots, count);
  for (std::size_t i = 0; i < entries_.size(); ++i) {
    const Entry& entry = entries_[i];
    if (entry.kind == Kind::kValue || table.add(i)) continue;
    return fault(entry.text.data, "this name is already used above");
  }
  return true;
}

bool Parser::lines() {
  const char* at = begin_;
  if (between(at, end_).starts_with(kByteOrderMark)) at += kByteOrderMark.size();
  while (at != end_) {
    const char* end = find_byte(at, end_, '\n');
    if (!line(at, end)) return false;
    at = end == end_ ? end_ : end + 1;
  }
  return true;
}

Status Parser::run() {
  backslash_ = find_byte(begin_, end_, '\\');
  const char* nul = find_byte(begin_, end_, '\0');
  bool good = nul == end_ ? lines() && names_are_unique() : fault(nul, "a NUL byte");
  if (good) return {};
  const char* line_begin = fault_at_;
  while (line_begin != begin_ && line_begin[-1] != '\n') --line_begin;
  return {Code::kSyntax, 0, fault_reason_, line_of(between(begin_, end_), fault_at_),
          static_cast<std::uint32_t>(fault_at_ - line_begin + 1)};
}

// True for one text of the file, and for one that was written anew as it was.
bool same(const Text& old, const Text& now) {
  return old.data == now.data || (!now.escaped && old.equals(now.raw()));
}

// Copies the file's bytes to the output up to each place that changes.
class Renderer {
 public:
  Renderer(std::string_view bytes, const Entries& before, const Entries& after)
      : at_(bytes.data()), end_(at_ + bytes.size()), begin_(at_), before_(before), after_(after) {
    std::size_t first_end = bytes.find('\n');
    bool crlf =
        first_end != std::string_view::npos && first_end > 0 && bytes[first_end - 1] == '\r';
    line_end_ = crlf ? "\r\n" : "\n";
    out_.reserve(bytes.size() + 256);
  }

  std::string run();

 private:
  void copy_to(const char* at);
  void skip_to(const char* at) { at_ = std::max(at_, at); }
  [[nodiscard]] const char* line_begin(const char* at) const;
  [[nodiscard]] const char* line_end(const char* at) const;
  [[nodiscard]] const char* empty_line_before(const char* begin) const;
  [[nodiscard]] const char* text_end(const Entry& entry) const;
  void drop_until(std::size_t ordinal);
  void drop(const Entry& entry);
  void keep(std::size_t index);
  void patch_type(const Entry& old, const Entry& entry);
  void patch_value(const Entry& old, const Entry& entry);
  void start_line(Kind kind);
  void close_line();
  void add_line(const Entry& entry);
  void add_header(const Entry& entry, std::string_view word);
  void append_mark(const Entry& entry);
  void append_value(const Entry& entry);

  std::string out_;
  std::string_view line_end_;
  const char* at_;  // the file's bytes before this are copied or skipped
  const char* end_;
  const char* begin_;
  const Entries& before_;
  const Entries& after_;
  std::size_t next_ = 0;             // of before_: the first entry not yet kept or dropped
  const char* last_kept_ = nullptr;  // text of the entry kept last
  bool line_is_open_ = false;        // an added line still lacks its end
};

void Renderer::close_line() {
  if (line_is_open_) out_ += line_end_;
  line_is_open_ = false;
}

void Renderer::copy_to(const char* at) {
  if (at <= at_) return;
  close_line();
  out_.append(at_, at);
  at_ = at;
}

const char* Renderer::line_begin(const char* at) const {
  while (at != begin_ && at[-1] != '\n') --at;
  return at;
}

const char* Renderer::line_end(const char* at) const {
  const char* end = find_byte(at, end_, '\n');
  return end == end_ ? end_ : end + 1;
}

// Returns where the empty line ahead of a line begins, or, when there is none, the line itself.
const char* Renderer::empty_line_before(const char* begin) const {
  if (begin == at_) return begin;
  const char* before = line_begin(begin - 1);
  const std::string_view line = between(before, begin);
  return line == "\n" || line == "\r\n" ? before : begin;
}

// Returns where the text of the entry's line ends, without the value that stands on it.
const char* Renderer::text_end(const Entry& entry) const {
  const char* close = find_byte(entry.type.end(), end_, ')');
  return close + 1;
}

void Renderer::drop(const Entry& entry) {
  if (entry.text.data < at_) return;  // its line is gone with its attribute
  if (entry.on_attribute_line) {
    copy_to(text_end(before_[entry.ordinal - 1]));
    skip_to(entry.text.end());
    return;
  }
  const char* begin = line_begin(entry.text.data);
  if (begin == begin_ && between(begin_, end_).starts_with(kByteOrderMark)) {
    begin += kByteOrderMark.size();
  }
  if (entry.kind == Kind::kService) begin = empty_line_before(begin);
  copy_to(begin);
  skip_to(line_end(entry.text.data));
}

void Renderer::drop_until(std::size_t ordinal) {
  while (next_ < ordinal) drop(before_[next_++]);
}

void Renderer::append_mark(const Entry& entry) {
  if (entry.compulsory) out_.append(", ").append(kCompulsoryWord);
}

void Renderer::patch_type(const Entry& old, const Entry& entry) {
  bool same_type = same(old.type, entry.type);
  if (same_type && entry.compulsory == old.compulsory) return;
  copy_to(old.type.data);
  if (same_type) {
    copy_to(old.type.end());
  } else {
    append_encoded(out_, entry.type.raw(), Place::kType);
  }
  append_mark(entry);
  skip_to(text_end(old) - 1);
}

void Renderer::patch_value(const Entry& old, const Entry& entry) {
  if (same(old.text, entry.text)) return;
  copy_to(old.text.data);
  if (out_.back() == '=') out_ += ' ';
  append_encoded(out_, entry.text.raw(), Place::kValue);
  skip_to(old.text.end());
}

// An old value on the attribute's line goes first, so that what is added next finds the line clean.
void Renderer::keep(std::size_t index) {
  const Entry& entry = after_[index];
  drop_until(entry.ordinal);
  const Entry& old = before_[next_++];
  last_kept_ = old.text.data;
  if (entry.kind == Kind::kValue) patch_value(old, entry);
  if (entry.kind != Kind::kAttribute) return;
  patch_type(old, entry);
  bool has_value_here = next_ < before_.size() && before_[next_].on_attribute_line;
  bool keeps_it = index + 1 < after_.size() && after_[index + 1].ordinal == next_;
  if (has_value_here && !keeps_it) drop_until(next_ + 1);
}

void Renderer::append_value(const Entry& entry) {
  out_ += " =";
  if (entry.text.size > 0) out_ += ' ';
  append_encoded(out_, entry.text.raw(), Place::kValue);
}

// Lines are added after the entry kept last, or, when none is left, at the end of the file.
void Renderer::start_line(Kind kind) {
  if (last_kept_) {
    copy_to(line_end(last_kept_));
  } else {
    drop_until(before_.size());
    copy_to(end_);
  }
  close_line();
  if (out_.ends_with('\r')) {
    out_ += '\n';  // the file's last line had half of its end
  } else if (!out_.empty() && !out_.ends_with('\n')) {
    out_ += line_end_;
  }
  if (kind == Kind::kService && !out_.empty()) out_ += line_end_;
  out_ += kIndents[static_cast<std::size_t>(kind)];
  line_is_open_ = true;
}

void Renderer::add_header(const Entry& entry, std::string_view word) {
  out_.append("[").append(word).append(" ");
  append_encoded(out_, entry.text.raw(), Place::kHeader);
  out_ += ']';
}

void Renderer::add_line(const Entry& entry) {
  start_line(entry.kind);
  switch (entry.kind) {
    case Kind::kService:
      return add_header(entry, kServiceWord);
    case Kind::kInvocation:
      return add_header(entry, kInvocationWord);
    case Kind::kAttribute:
      append_encoded(out_, entry.text.raw(), Place::kAttribute);
      out_ += " (";
      append_encoded(out_, entry.type.raw(), Place::kType);
      append_mark(entry);
      out_ += ')';
      return;
    case Kind::kValue:
      return append_value(entry);
  }
}

std::string Renderer::run() {
  for (std::size_t i = 0; i < after_.size(); ++i) {
    const Entry& entry = after_[i];
    if (!entry.is_new()) {
      keep(i);
    } else if (entry.kind == Kind::kValue && after_[i - 1].kind == Kind::kAttribute) {
      const Entry& attribute = after_[i - 1];
      if (!attribute.is_new()) copy_to(text_end(before_[attribute.ordinal]));
      append_value(entry);
    } else {
      add_line(entry);
    }
  }
  drop_until(before_.size());
  copy_to(end_);
  close_line();
  return std::move(out_);
}

}  // namespace

Status parse(std::string_view bytes, Entries& entries) { return Parser(bytes, entries).run(); }

std::uint32_t line_of(std::string_view bytes, const char* at) {
  return static_cast<std::uint32_t>(1 + std::count(bytes.data(), at, '\n'));
}

std::string render(std::string_view bytes, const Entries& before, const Entries& after) {
  return Renderer(bytes, before, after).run();
}

}  // namespace store
