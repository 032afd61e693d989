// The tags of pages: their attributes, formats and places.
// SPDX-License-Identifier: MIT
#ifndef HOST_HOST_TAGS_H_
#define HOST_HOST_TAGS_H_

#include "page.h"

namespace platen {

// Understands one tag. Returns false and adds to `faults` when the tag, an attribute, its parser
// function or its format is unknown, when an attribute that it needs is missing, or when the
// function cannot be called by a tag or printed in that format.
bool resolve_tag(const SourceTag& source, const Position& at, PageTag* tag,
                 std::vector<Fault>* faults);

// Returns the name of a format as tags write it.
std::string_view format_name(Format format);

}  // namespace platen

#endif  // HOST_HOST_TAGS_H_
