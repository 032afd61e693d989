// Fuzzes the reading and checking of pages: any bytes are a page or have faults with a position.
// SPDX-License-Identifier: MIT
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "marked_text.h"
#include "page_check.h"
#include "page_source.h"

namespace {

using platen::PageItem;
using platen::PageSource;
using platen::PageTag;
using platen::PageText;

void require(bool condition) {
  if (!condition) std::abort();
}

// The pieces stand one behind the other, and the texts among them are those of the page.
void check_pieces(const PageSource& source, std::string_view text) {
  size_t at = 0;
  for (const platen::SourcePiece& piece : source.pieces) {
    const platen::Position expected = platen::position_after({"p", 1, 1}, text.substr(0, at));
    require(piece.at.line == expected.line && piece.at.column == expected.column);
    if (piece.tag) {
      require(text.substr(at).starts_with("<!--#" + piece.tag->name));
      const size_t next = text.find("-->", at);
      require(next != std::string_view::npos);
      at = next + 3;
      for (const auto& attribute : piece.tag->attributes) {
        if (attribute.value.find("-->") != std::string::npos) return;
      }
    } else {
      require(text.substr(at).starts_with(piece.text));
      at += piece.text.size();
    }
  }
  require(source.fault || at == text.size());
}

// The page with a printing tag for each tag that has a name, whatever that is.
platen::Page page_of(const PageSource& source) {
  platen::Page page;
  for (const platen::SourcePiece& piece : source.pieces) {
    if (!piece.tag) {
      page.items.emplace_back(PageText{piece.at, piece.text});
      continue;
    }
    PageTag tag;
    tag.at = piece.at;
    tag.kind = platen::TagKind::reason;
    tag.format = piece.tag->name == "js"     ? platen::Format::js
                 : piece.tag->name == "json" ? platen::Format::json
                                             : platen::Format::html;
    tag.places = platen::places_of(tag.format);
    page.items.emplace_back(tag);
  }
  return page;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const PageSource source = platen::parse_page_source("p", text);
  check_pieces(source, text);
  for (const char* name : {"p.html", "p.js"}) {
    platen::Page page = page_of(source);
    platen::check_page(name, &page);
    for (const platen::Fault& fault : page.faults) {
      require(fault.at.file == "p" && fault.at.line > 0 && fault.at.column > 0);
    }
  }
  return 0;
}
