// Splits the text of a page file into plain text and tags.
// SPDX-License-Identifier: MIT
//
// A tag is <!--#NAME ATTRIBUTE="VALUE" ...-->. Blanks and line ends may stand between attributes.
// In a value &quot; stands for a double quote and &amp; for "&"; any other "&" stands for itself.
// A value ends on the line on which it begins.
#ifndef HOST_PAGE_SOURCE_H_
#define HOST_PAGE_SOURCE_H_

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace platen {

// A place in a page file; lines and columns count from 1, columns in bytes.
struct Position {
  std::string file;
  int line = 1;
  int column = 1;
};

// What is wrong with a page, and where.
struct Fault {
  Position at;
  std::string reason;
};

// Returns "FILE:LINE:COLUMN: REASON".
std::string fault_text(const Fault& fault);

// Returns the position after `text`, which begins at `start`.
Position position_after(const Position& start, std::string_view text);

struct SourceAttribute {
  std::string name;
  std::string value;
};

struct SourceTag {
  std::string name;
  std::vector<SourceAttribute> attributes;
};

// A run of plain text, or a tag.
struct SourcePiece {
  Position at;
  std::string text;
  std::optional<SourceTag> tag;
};

struct PageSource {
  std::vector<SourcePiece> pieces;  // up to the fault, when there is one
  std::optional<Fault> fault;       // the first broken tag
};

// Splits `text`, the content of `file`; the name serves the positions only.
PageSource parse_page_source(const std::string& file, std::string_view text);

}  // namespace platen

#endif  // HOST_PAGE_SOURCE_H_
