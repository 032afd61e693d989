// The forms that the module's handlers carry out.
// SPDX-License-Identifier: MIT
#ifndef HOST_MODULE_FORMS_H_
#define HOST_MODULE_FORMS_H_

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "parser_module.h"
#include "post.h"
#include "visit.h"

namespace platen {

// Calls the form handler of that name with the fields, in their order. The outcome is done only
// when the handler says so and the store has told no failure: 422 when the handler refused or
// failed, 500 when something was not stored.
Outcome call_form_handler(const ParserModule& module, std::string_view name,
                          const std::vector<Field>& fields, const Visit& visit);

// Carries out a form of the module. An edit is first compared with what is stored now: one made on
// an out-of-date page is a conflict, status 409.
Outcome run_module_form(const ParserModule& module, const Post& post, const Visit& visit);

// Gives a template another name in its pool: a copy, then a delete of the old file, which stays
// when the copy fails.
Outcome rename_template(const ParserModule& module, const Post& post, const Visit& visit);

// The fields as they are shown again: the "was" of each conflicting run becomes what is stored now
// and stands before its "Action", so that posting it again wins.
std::vector<FormField> rebased_fields(const std::vector<FormField>& fields, const Json& conflicts);

}  // namespace platen

#endif  // HOST_MODULE_FORMS_H_
