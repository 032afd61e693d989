// The rules of where output may stand.
// SPDX-License-Identifier: MIT
#include "page_check.h"

#include <gumbo.h>
#include <strings.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "host_tags.h"
#include "marked_text.h"
#include "output_format.h"
#include "php_code.h"
#include "script_strings.h"

namespace platen {
namespace {

// Attributes that hold an address, a style, a script or a page, beside those that begin with "on".
constexpr std::string_view kActiveAttributes[] = {
    "action",   "archive", "background", "by",      "cite",       "classid",     "codebase",
    "content",  "data",    "formaction", "from",    "href",       "imagesrcset", "longdesc",
    "manifest", "ping",    "poster",     "profile", "src",        "srcdoc",      "srcset",
    "style",    "to",      "usemap",     "values",  "xlink:href",
};

// Elements whose content is not text, or text that knows no character references.
constexpr GumboTag kRawElements[] = {GUMBO_TAG_SCRIPT,   GUMBO_TAG_STYLE,   GUMBO_TAG_XMP,
                                     GUMBO_TAG_IFRAME,   GUMBO_TAG_NOEMBED, GUMBO_TAG_NOFRAMES,
                                     GUMBO_TAG_PLAINTEXT};

// Elements whose content loses a line end at its start.
constexpr GumboTag kTrimmingElements[] = {GUMBO_TAG_TEXTAREA, GUMBO_TAG_PRE, GUMBO_TAG_LISTING};

bool is_event_attribute(std::string_view name) { return name.starts_with("on"); }

bool is_active_attribute(std::string_view name) {
  return is_event_attribute(name) ||
         std::ranges::find(kActiveAttributes, name) != std::end(kActiveAttributes);
}

template <typename List>
bool is_one_of(GumboTag tag, const List& list) {
  return std::ranges::find(list, tag) != std::end(list);
}

bool is_posting_form(const GumboElement& element) {
  const GumboAttribute* method = gumbo_get_attribute(&element.attributes, "method");
  return element.tag == GUMBO_TAG_FORM && method != nullptr &&
         ::strcasecmp(method->value, "post") == 0;
}

bool is_data_block(const GumboElement& element) {
  const GumboAttribute* type = gumbo_get_attribute(&element.attributes, "type");
  return element.tag == GUMBO_TAG_SCRIPT && type != nullptr &&
         ::strcasecmp(type->value, "application/json") == 0;
}

// What to do instead, for output that may stand in `places`.
std::string advice(unsigned places) {
  if ((places & kHtmlAttribute) != 0) {
    return "put it into text, or into a double-quoted attribute that holds no address, style, "
           "script or event";
  }
  if ((places & kHtmlText) != 0) return "put it into text";
  if ((places & kPhpCode) != 0) {
    return "put it between <?php and ?> in a .php page, outside strings and comments";
  }
  if ((places & kScriptCode) != 0) {
    return "put it into a script page, as a statement of its own, at the start or after a \";\" or "
           "a brace";
  }
  if ((places & kScriptString) != 0) {
    return "put it into a script page, alone between two equal quotes";
  }
  return "put it into a <script type=\"application/json\"> block, as a value of its own";
}

Fault misplaced(const PageTag& tag, std::string_view where) {
  return {tag.at, tag.label + " as \"" + std::string(format_name(tag.format)) +
                      "\" may not stand " + std::string(where) + "; " + advice(tag.places)};
}

// Walks the parsed HTML of a page and judges each marker where the parser has put it.
class HtmlChecker {
 public:
  // `seen` tells of each marker whether it has been judged.
  HtmlChecker(const MarkedText& marked, std::vector<bool> seen, std::vector<Fault>* faults)
      : marked_(marked), faults_(*faults), seen_(std::move(seen)) {}

  void check() {
    const std::string& text = marked_.text();
    GumboOutput* output = gumbo_parse_with_options(&kGumboDefaultOptions, text.data(), text.size());
    visit_children(output->document->v.document.children);
    gumbo_destroy_output(&kGumboDefaultOptions, output);
    for (size_t i = 0; i < seen_.size(); ++i) {
      if (!seen_[i]) refuse(i, "inside a tag, outside a double-quoted attribute value");
    }
    check_tokens();
  }

 private:
  void visit_children(const GumboVector& children) {
    for (unsigned i = 0; i < children.length; ++i) {
      visit(*static_cast<const GumboNode*>(children.data[i]));
    }
  }

  void visit(const GumboNode& node) {
    switch (node.type) {
      case GUMBO_NODE_ELEMENT:
      case GUMBO_NODE_TEMPLATE:
        return visit_element(node.v.element);
      case GUMBO_NODE_TEXT:
        return visit_text(node);
      case GUMBO_NODE_COMMENT:
        return refuse_all(node.v.text.text, "inside a comment");
      case GUMBO_NODE_CDATA:
        return refuse_all(node.v.text.text, "inside a CDATA section");
      case GUMBO_NODE_DOCUMENT:
      case GUMBO_NODE_WHITESPACE:
        return;
    }
  }

  void visit_element(const GumboElement& element) {
    for (unsigned i = 0; i < element.attributes.length; ++i) {
      visit_attribute(*static_cast<const GumboAttribute*>(element.attributes.data[i]));
    }
    const bool loads_script = gumbo_get_attribute(&element.attributes, "src") != nullptr;
    if (element.tag == GUMBO_TAG_STYLE) {
      fault_at(element.original_tag, "a page has no inline style; put it into a style sheet file");
    } else if (element.tag == GUMBO_TAG_SCRIPT && !loads_script && !is_data_block(element)) {
      fault_at(element.original_tag,
               "a page has no inline script; put it into a script file and name it with src");
    }
    if (is_posting_form(element)) {
      forms_.push_back(offset_of(element.original_tag));
    }
    visit_children(element.children);
  }

  void visit_attribute(const GumboAttribute& attribute) {
    const std::string name = attribute.attr_namespace == GUMBO_ATTR_NAMESPACE_XLINK
                                 ? std::string("xlink:") + attribute.name
                                 : attribute.name;
    if (is_event_attribute(name)) {
      fault_at(attribute.original_name,
               "a page has no inline script; let a script file listen to the event");
    } else if (name == "style") {
      fault_at(attribute.original_name,
               "a page has no inline style; give the element a class and style that");
    }
    const bool double_quoted =
        attribute.original_value.length > 0 && attribute.original_value.data[0] == '"';
    for (const size_t marker : marked_.markers_in(attribute.value)) {
      if (is_active_attribute(name)) {
        refuse(marker, "in the attribute " + name);
      } else if (!double_quoted) {
        refuse(marker, "in an attribute value without double quotes");
      } else {
        settle(marker, kHtmlAttribute, "in an attribute");
      }
    }
  }

  void visit_text(const GumboNode& node) {
    const GumboElement* parent =
        node.parent->type == GUMBO_NODE_DOCUMENT ? nullptr : &node.parent->v.element;
    const std::string_view text = node.v.text.text;
    if (parent != nullptr && is_data_block(*parent)) return visit_data_block(text);
    if (parent != nullptr && is_one_of(parent->tag, kRawElements)) {
      return refuse_all(text,
                        std::string("inside <") + gumbo_normalized_tagname(parent->tag) + ">");
    }
    for (const size_t marker : marked_.markers_in(text)) {
      settle(marker, kHtmlText, "in text");
    }
    if (parent != nullptr && is_one_of(parent->tag, kTrimmingElements)) check_first(*parent);
  }

  // A line end at the start of such an element is not shown: one in the page itself saves that of a
  // value.
  void check_first(const GumboElement& element) {
    const size_t begin = offset_of(element.original_tag) + element.original_tag.length;
    const auto first = std::ranges::find(marked_.markers(), begin, &Marker::offset);
    if (first == marked_.markers().end()) return;
    const std::string name = gumbo_normalized_tagname(element.tag);
    faults_.push_back({first->tag->at,
                       "a value that begins with a line end would lose it here; put "
                       "a line end between <" +
                           name + "> and the tag"});
  }

  // A token outside its form would be of no use, and in a form that is not posted it would show in
  // the address.
  void check_tokens() {
    for (const Marker& marker : marked_.markers()) {
      if (marker.tag->kind != TagKind::token || is_in_form(marker.offset)) continue;
      faults_.push_back({marker.tag->at, marker.tag->label +
                                             " stands outside a <form method=\"post\">; put it "
                                             "into the form that it is for"});
    }
  }

  // Told by the text: the parser puts the last text of a form behind it, and keeps no end of it.
  bool is_in_form(size_t offset) const {
    constexpr std::string_view kEnd = "</form";
    const auto is_same_letter = [](char a, char b) { return (a | 0x20) == (b | 0x20); };
    return std::ranges::any_of(forms_, [&](size_t begin) {
      if (begin > offset) return false;
      const std::string_view inside =
          std::string_view(marked_.text()).substr(begin, offset - begin);
      return std::search(inside.begin(), inside.end(), kEnd.begin(), kEnd.end(), is_same_letter) ==
             inside.end();
    });
  }

  void visit_data_block(std::string_view text) {
    const std::vector<size_t> markers = marked_.markers_in(text);
    const bool sound = markers.empty() || Json::accept(marked_.with_quoted_markers(text));
    for (const size_t marker : markers) {
      if (sound) {
        settle(marker, kJsonBlock, "in an application/json block");
      } else {
        refuse(marker, "in a block that is not JSON, or inside a string of it");
      }
    }
  }

  void settle(size_t marker, Place place, std::string_view where) {
    if ((marked_.markers()[marker].tag->places & place) == 0) return refuse(marker, where);
    seen_[marker] = true;
  }

  void refuse_all(std::string_view text, std::string_view where) {
    for (const size_t marker : marked_.markers_in(text)) refuse(marker, where);
  }

  void refuse(size_t marker, std::string_view where) {
    seen_[marker] = true;
    faults_.push_back(misplaced(*marked_.markers()[marker].tag, where));
  }

  size_t offset_of(const GumboStringPiece& piece) const {
    return static_cast<size_t>(piece.data - marked_.text().data());
  }

  void fault_at(const GumboStringPiece& piece, std::string_view reason) {
    faults_.push_back({marked_.position(offset_of(piece)), std::string(reason)});
  }

  const MarkedText& marked_;
  std::vector<Fault>& faults_;
  std::vector<bool> seen_;
  std::vector<size_t> forms_;  // that are posted: where each begins
};

// Judges the tags in the PHP of a page, and takes the PHP out of it, so that its HTML is left.
// Returns of each marker whether it has been judged.
std::vector<bool> check_php(MarkedText* marked, std::vector<Fault>* faults) {
  const PhpCode php = find_php_code(marked->text());
  if (php.unclosed) {
    faults->push_back(
        {marked->position(*php.unclosed), "a string, heredoc or comment of the PHP is not closed"});
  }
  std::vector<bool> seen;
  for (const Marker& marker : marked->markers()) {
    const auto holds = [&](const PhpPart& part) { return part.holds(marker.offset); };
    seen.push_back(std::ranges::any_of(php.segments, holds));
    if (!seen.back()) continue;
    if ((marker.tag->places & kPhpCode) == 0) {
      faults->push_back(misplaced(*marker.tag, "in PHP"));
    } else if (std::ranges::any_of(php.quoted, holds)) {
      faults->push_back(misplaced(*marker.tag, "in a string or comment of the PHP"));
    }
  }
  for (const PhpPart& segment : php.segments) marked->blank(segment.begin, segment.end);
  return seen;
}

// A script without tags is the browser's to judge.
void check_script(const MarkedText& marked, std::vector<Fault>* faults) {
  if (marked.markers().empty()) return;
  const ScriptStrings strings = find_script_strings(marked.text());
  if (strings.unclosed) {
    faults->push_back({marked.position(*strings.unclosed),
                       "a string, comment, template literal or regular expression is not closed"});
    return;
  }
  for (const Marker& marker : marked.markers()) {
    const auto is_marker = [&](const ScriptSpan& span) {
      return span.begin == marker.offset && span.end == marker.offset + marked.marker_length();
    };
    const unsigned places = marker.tag->places;
    if ((places & (kScriptString | kScriptCode)) == 0) {
      faults->push_back(misplaced(*marker.tag, "in a script page"));
    } else if ((places & kScriptCode) != 0) {
      if (std::ranges::none_of(strings.statements, is_marker)) {
        faults->push_back(misplaced(*marker.tag, "within a statement, string or comment"));
      }
    } else if (std::ranges::none_of(strings.strings, is_marker)) {
      faults->push_back(misplaced(*marker.tag, "outside quotes, or beside other text in them"));
    }
  }
}

// A function that opens templates of its own loses the page's open template.
void check_open_template(Page* page) {
  const PageTag* open = nullptr;
  for (const PageItem& item : page->items) {
    const auto* tag = std::get_if<PageTag>(&item);
    if (tag == nullptr || tag->function == nullptr) continue;
    if (tag->function->use == TemplateUse::opens) open = tag;
    if (tag->function->use == TemplateUse::closes) open = nullptr;
    if (tag->function->use == TemplateUse::opens_own && open != nullptr) {
      page->faults.push_back({tag->at, tag->label + " would close the template opened on line " +
                                           std::to_string(open->at.line) + " of " + open->at.file +
                                           "; call it before that, or after the close tag"});
    }
  }
}

}  // namespace

void check_page(std::string_view name, Page* page) {
  check_open_template(page);
  MarkedText marked(*page);
  if (is_script_page(name)) return check_script(marked, &page->faults);
  std::vector<bool> seen(marked.markers().size(), false);
  if (is_php_page(name)) seen = check_php(&marked, &page->faults);
  HtmlChecker(marked, std::move(seen), &page->faults).check();
}

}  // namespace platen
