// Keeps an edit made on an out-of-date page from overwriting what somebody else stored meanwhile.
// SPDX-License-Identifier: MIT
//
// An edit form posts runs of fields, each closed by "Action". A run that updates an attribute which
// stood in the template when the page was shown carries the host's field "was": the attribute as
// shown, a JSON object such as
//   {"value": "0301,0302", "type": "string", "compulsory": false}
// A list is one text: its values joined with ";" for the attribute "PhoneNumber", with "," for any
// other. An empty "was", or none, says that the attribute was not there.
//
// Texts are compared with CRLF and CR taken as LF, and with what is not UTF-8 replaced by U+FFFD,
// as a page shows it and a browser posts it.
#ifndef HOST_OUT_OF_DATE_H_
#define HOST_OUT_OF_DATE_H_

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "form_body.h"

namespace platen {

// An attribute as a template holds it.
struct StoredAttribute {
  std::vector<std::string> values;
  std::string type;
  bool compulsory = false;
};

// Reads an attribute from the template to be edited, or from the source when a copy is edited;
// nothing when it is not there. Must give what stands in the file now.
using AttributeReader = std::function<std::optional<StoredAttribute>(
    const std::string& service, const std::string& invocation, const std::string& attribute)>;

// An attribute as a page shows it: a list as one text.
struct ShownAttribute {
  std::string value;
  std::string type;
  bool compulsory = false;

  bool operator==(const ShownAttribute&) const = default;
};

// An edit that would overwrite what somebody else stored.
struct EditConflict {
  size_t run;  // counted from 0
  std::string service;
  std::string invocation;
  std::string attribute;
  std::optional<ShownAttribute> was;     // nothing: it was not there
  std::optional<ShownAttribute> stored;  // as it is now; nothing: it is gone
  ShownAttribute wanted;
};

struct EditReview {
  // What the handler is to get: without the fields "was", "token" and "replace" and without the
  // runs that change nothing, values with the line ends of the stored ones. For a post to be
  // carried out only: empty with a fault or a conflict.
  std::vector<FormField> fields;
  std::vector<EditConflict> conflicts;
  std::string
      fault;  // why the post cannot be judged (status 422), a sentence naming the run; or ""
};

// Judges each update run of a post by what was shown, what is stored and what is wanted:
// - the user changed nothing, or it is stored already: the run is dropped;
// - what is stored is what was shown: the run stays;
// - else the run is a conflict.
// Runs that make a new invocation (they name none), that carry no value, service or attribute, and
// runs with another action than "update" stay as they are. In the updates that stay the line ends
// become those of the stored value, or LF where nothing is stored.
// A "was" that is no such JSON object, or that stands in a run without an invocation, is a fault.
EditReview review_edits(const std::vector<FormField>& posted, const AttributeReader& read);

// An attribute as pages show it and the value of the field "was" for it.
ShownAttribute shown_attribute(std::string_view name, const StoredAttribute& stored);
std::string was_field(const ShownAttribute& shown);

}  // namespace platen

#endif  // HOST_OUT_OF_DATE_H_
