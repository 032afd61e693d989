// The forms of the clone page: making a clone file, reading one in, and applying it.
// SPDX-License-Identifier: MIT
#ifndef HOST_CLONE_FORMS_H_
#define HOST_CLONE_FORMS_H_

#include <optional>

#include "output_format.h"
#include "parser_module.h"
#include "post.h"
#include "visit.h"

namespace platen {

// What the forms and tags work on.
struct CloneContext {
  const ParserModule& module;
  Visitors& visitors;
  Visit& visit;
};

// Carries out a form of the clone page; nothing for any other form. Requires: one that policy lets
// through.
std::optional<Outcome> run_clone_form(const Post& post, const CloneContext& context);

// What the host's tags show, for administrators, else null: the groups with what they hold,
//   {"groups": [{"token", "name", "templates", "settings",
//                "subs": [{"token", "name", "templates", "settings"}]}],
//    "leftOut": [why a group is not there], "fault": null or why nothing can be cloned}
// and what the file that was read in under the query field "upload" would change,
//   {"upload", "digest", "made", "items": [{"number", "kind", "name", "token",
//    "group", "state", "note", "difference", "before", "after"}], "leftOut": [{"name", "reason"}]}
// or null when it is kept no longer.
Json clone_menu_json(const CloneContext& context);
Json clone_summary_json(const CloneContext& context, const std::vector<Field>& query);

}  // namespace platen

#endif  // HOST_CLONE_FORMS_H_
