// The text of a page with a marker in place of each tag that prints.
// SPDX-License-Identifier: MIT
#ifndef HOST_MARKED_TEXT_H_
#define HOST_MARKED_TEXT_H_

#include <string>
#include <string_view>
#include <vector>

#include "page.h"

namespace platen {

// Where a tag's marker stands in the marked text.
struct Marker {
  const PageTag* tag;
  size_t offset;
};

// A marker is a word of letters and digits, of one length for all, that the page itself does not
// hold: a parser of the page's language keeps it whole wherever it stands.
class MarkedText {
 public:
  // Requires: `page` outlives the object.
  explicit MarkedText(const Page& page);

  const std::string& text() const { return text_; }
  const std::vector<Marker>& markers() const { return markers_; }
  size_t marker_length() const;

  // The indexes of the markers in `part`, a text that a parser has made from the marked text.
  std::vector<size_t> markers_in(std::string_view part) const;

  // Returns `part` with each marker put into double quotes.
  std::string with_quoted_markers(std::string_view part) const;

  // Puts a blank for each byte of text()[begin, end) but its line ends; its markers go with it.
  void blank(size_t begin, size_t end);

  // Where in the page's files the byte at `offset` comes from.
  Position position(size_t offset) const;

 private:
  struct Run {
    size_t offset;
    const PageText* text;
  };

  const Page& page_;
  std::string prefix_;
  std::string text_;
  std::vector<Marker> markers_;
  std::vector<Run> runs_;
};

}  // namespace platen

#endif  // HOST_MARKED_TEXT_H_
