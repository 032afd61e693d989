// Brings back what a template held before.
// SPDX-License-Identifier: MIT
#ifndef HOST_BRING_BACK_H_
#define HOST_BRING_BACK_H_

#include "parser_module.h"
#include "post.h"
#include "template_history.h"

namespace platen {

// Puts the version that the form names in the place of what the template holds, which the history
// keeps; a template that was deleted is made again. A template that has changed since the form was
// shown, or that came or went, is left alone: status 409.
Outcome bring_back(const Post& post, const ParserModule& module, const TemplateHistory& history);

}  // namespace platen

#endif  // HOST_BRING_BACK_H_
