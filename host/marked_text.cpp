// Builds marked text and finds markers again.
// SPDX-License-Identifier: MIT
#include "marked_text.h"

#include <algorithm>

namespace platen {
namespace {

constexpr size_t kDigits = 8;

// A word that none of the page's texts holds, nor could hold together with a neighbour.
std::string unused_word(const Page& page) {
  std::string all;
  for (const PageItem& item : page.items) {
    if (const auto* text = std::get_if<PageText>(&item)) all += text->text;
  }
  std::string word = "PlatenTag";
  while (all.find(word) != std::string::npos) word += 'x';
  return word + 'X';
}

std::string digits_of(size_t number) {
  const std::string digits = std::to_string(number);
  return std::string(kDigits - digits.size(), '0') + digits;
}

}  // namespace

MarkedText::MarkedText(const Page& page) : page_(page), prefix_(unused_word(page)) {
  for (const PageItem& item : page_.items) {
    if (const auto* text = std::get_if<PageText>(&item)) {
      runs_.push_back({text_.size(), text});
      text_ += text->text;
    } else if (const auto& tag = std::get<PageTag>(item); tag.places != 0) {
      const std::string number = digits_of(markers_.size());
      markers_.push_back({&tag, text_.size()});
      text_ += prefix_ + number;
    }
  }
}

size_t MarkedText::marker_length() const { return prefix_.size() + kDigits; }

std::vector<size_t> MarkedText::markers_in(std::string_view part) const {
  std::vector<size_t> found;
  for (size_t at = part.find(prefix_); at != std::string_view::npos;
       at = part.find(prefix_, at + marker_length())) {
    found.push_back(std::stoul(std::string(part.substr(at + prefix_.size(), kDigits))));
  }
  return found;
}

std::string MarkedText::with_quoted_markers(std::string_view part) const {
  std::string out;
  for (;;) {
    const size_t at = part.find(prefix_);
    out += part.substr(0, at);
    if (at == std::string_view::npos) return out;
    out += '"' + std::string(part.substr(at, marker_length())) + '"';
    part.remove_prefix(at + marker_length());
  }
}

void MarkedText::blank(size_t begin, size_t end) {
  for (size_t at = begin; at < end; ++at) {
    if (text_[at] != '\n') text_[at] = ' ';
  }
}

Position MarkedText::position(size_t offset) const {
  const auto after = std::ranges::upper_bound(runs_, offset, {}, &Run::offset);
  if (after == runs_.begin()) return {};
  const Run& run = *std::prev(after);
  const std::string_view text = run.text->text;
  return position_after(run.text->at, text.substr(0, offset - run.offset));
}

}  // namespace platen
