// The table of tags, and what a tag's attributes may be.
// SPDX-License-Identifier: MIT
#include "host_tags.h"

#include <algorithm>
#include <optional>

namespace platen {
namespace {

// One tag: the attribute that it needs, the further one that it takes, and how it prints.
struct TagRule {
  std::string_view name;
  std::string_view needed;    // "" = none
  std::string_view optional;  // "" = none
  TagKind kind;
  unsigned places;        // of a parser tag: its function's
  Format default_format;  // of a parser tag: its function's
  bool takes_format;
};

constexpr unsigned kAnywhere = kHtmlText | kHtmlAttribute | kScriptString | kJsonBlock | kPhpCode;
constexpr unsigned kData = kJsonBlock | kPhpCode;

constexpr TagRule kTags[] = {
    {"parser", "fn", "arg", TagKind::parser, 0, Format::none, true},
    {"include", "file", "", TagKind::include, 0, Format::none, false},
    {"reason", "", "", TagKind::reason, kAnywhere, Format::html, true},
    {"phrase", "id", "", TagKind::phrase, kAnywhere, Format::html, true},
    {"template", "", "", TagKind::open_template, kData, Format::json, true},
    {"token", "", "", TagKind::token, kHtmlText, Format::html, false},
    {"languages", "", "", TagKind::languages, kHtmlText, Format::html, false},
    {"login", "", "", TagKind::login, kAnywhere, Format::html, true},
    {"posted", "", "", TagKind::posted, kData, Format::json, true},
    {"page", "", "", TagKind::page, kData, Format::json, true},
    {"audit", "", "", TagKind::audit, kData, Format::json, true},
    {"status", "", "", TagKind::status, kData, Format::json, true},
    {"notice", "", "", TagKind::notice, kAnywhere, Format::html, true},
    {"accounts", "", "", TagKind::accounts, kData, Format::json, true},
    {"jobs", "", "", TagKind::jobs, kData, Format::json, true},
    {"mailbox", "", "", TagKind::mailbox, kData, Format::json, true},
    {"session", "", "", TagKind::session, kPhpCode, Format::php, true},
    {"difference", "", "", TagKind::difference, kData, Format::json, true},
    {"versions", "", "", TagKind::versions, kData, Format::json, true},
    {"factory", "", "", TagKind::factory, kData, Format::json, true},
    {"deleted", "", "", TagKind::deleted, kData, Format::json, true},
    {"clone", "", "", TagKind::clone, kData, Format::json, true},
    {"upload", "", "", TagKind::upload, kData, Format::json, true},
};

struct FormatName {
  std::string_view name;
  Format format;
};

constexpr FormatName kFormats[] = {
    {"html", Format::html}, {"js", Format::js}, {"json", Format::json}, {"php", Format::php}};

std::string quoted(std::string_view text) { return '"' + std::string(text) + '"'; }

// Joins names as in "a, b or c".
std::string alternatives(const std::vector<std::string>& names) {
  std::string out;
  for (size_t i = 0; i < names.size(); ++i) {
    if (i > 0) out += i + 1 == names.size() ? " or " : ", ";
    out += names[i];
  }
  return out;
}

std::string known_tags() {
  std::vector<std::string> names;
  for (const TagRule& rule : kTags) names.emplace_back(rule.name);
  return alternatives(names);
}

std::string formats_of(unsigned places) {
  std::vector<std::string> names;
  for (const FormatName& row : kFormats) {
    if ((places & places_of(row.format)) != 0) names.push_back(quoted(row.name));
  }
  return alternatives(names);
}

bool takes_attribute(const TagRule& rule, std::string_view name) {
  return !name.empty() &&
         (name == rule.needed || name == rule.optional || (rule.takes_format && name == "format"));
}

// The attributes that a tag takes, for messages.
std::string attributes_of(const TagRule& rule) {
  std::vector<std::string> names;
  for (const std::string_view name : {rule.needed, rule.optional}) {
    if (!name.empty()) names.emplace_back(name);
  }
  if (rule.takes_format) names.emplace_back("format");
  return names.empty() ? "none" : alternatives(names);
}

const std::string* find_attribute(const SourceTag& source, std::string_view name) {
  const auto found = std::ranges::find(source.attributes, name, &SourceAttribute::name);
  return found == source.attributes.end() ? nullptr : &found->value;
}

bool prints_escapes(const ParserFunction& function) {
  return std::ranges::any_of(function.prints, [](const Print& print) {
    return std::ranges::find(print.values, Value::backslashed) != print.values.end();
  });
}

// Resolves one tag; the first fault ends it.
class TagResolver {
 public:
  TagResolver(const SourceTag& source, PageTag* tag, std::vector<Fault>* faults)
      : source_(source), tag_(*tag), faults_(*faults) {}

  bool resolve() {
    const auto* rule = std::ranges::find(kTags, source_.name, &TagRule::name);
    if (rule == std::end(kTags)) {
      return fail("unknown tag " + quoted(source_.name) + "; the tags are " + known_tags());
    }
    tag_.kind = rule->kind;
    tag_.label = "the tag " + source_.name;
    return check_attributes(*rule) && resolve_function(*rule) && resolve_format();
  }

 private:
  bool check_attributes(const TagRule& rule) {
    for (const SourceAttribute& attribute : source_.attributes) {
      if (takes_attribute(rule, attribute.name)) continue;
      return fail("unknown attribute " + attribute.name + " in " + tag_.label + "; it takes " +
                  attributes_of(rule));
    }
    if (rule.needed.empty()) return true;
    const std::string* value = find_attribute(source_, rule.needed);
    if (value == nullptr || value->empty()) {
      return fail(tag_.label + " needs the attribute " + std::string(rule.needed));
    }
    tag_.argument = *value;
    return true;
  }

  bool resolve_function(const TagRule& rule) {
    tag_.places = rule.places;
    default_format_ = rule.default_format;
    if (rule.kind != TagKind::parser) return true;
    const std::string name = tag_.argument;
    const std::string* argument = find_attribute(source_, rule.optional);
    tag_.argument = argument == nullptr ? "" : *argument;
    tag_.function = find_parser_function(name);
    if (tag_.function == nullptr) return fail("unknown parser function " + quoted(name));
    if (tag_.function->shape == Shape::upkeep) {
      return fail(name +
                  " changes templates; the host calls it after a form that needs it, a tag " +
                  "cannot");
    }
    if (tag_.function->shape != Shape::output) {
      return fail(name + " is a form handler; a form posts to it, a tag cannot call it");
    }
    tag_.label = name;
    tag_.places = tag_.function->places;
    default_format_ = tag_.function->default_format;
    return true;
  }

  bool resolve_format() {
    const std::string* name = find_attribute(source_, "format");
    tag_.format = default_format_;
    if (name != nullptr && !named_format(*name)) return false;
    if (name == nullptr && tag_.format == Format::none && tag_.places != 0) {
      return fail(tag_.label + " needs a format: " + formats_of(tag_.places));
    }
    tag_.places &= places_of(tag_.format);
    return true;
  }

  bool named_format(const std::string& name) {
    if (tag_.places == 0) return fail(tag_.label + " prints nothing and takes no format");
    const auto* row = std::ranges::find(kFormats, name, &FormatName::name);
    if (row == std::end(kFormats) || (tag_.places & places_of(row->format)) == 0) {
      const bool escapes = tag_.function != nullptr && prints_escapes(*tag_.function);
      return fail(tag_.label + " has no format " + quoted(name) +
                  (escapes ? ", as its values are escaped for scripts" : "") + "; it has " +
                  formats_of(tag_.places));
    }
    tag_.format = row->format;
    return true;
  }

  bool fail(std::string reason) {
    faults_.push_back({tag_.at, std::move(reason)});
    return false;
  }

  const SourceTag& source_;
  PageTag& tag_;
  std::vector<Fault>& faults_;
  Format default_format_ = Format::none;
};

}  // namespace

bool resolve_tag(const SourceTag& source, const Position& at, PageTag* tag,
                 std::vector<Fault>* faults) {
  tag->at = at;
  return TagResolver(source, tag, faults).resolve();
}

std::string_view format_name(Format format) {
  const auto* row = std::ranges::find(kFormats, format, &FormatName::format);
  return row == std::end(kFormats) ? "" : row->name;
}

}  // namespace platen
