// Lets one form put several attributes into an invocation that it makes.
// SPDX-License-Identifier: MIT
//
// The handler makes an invocation for each run that names none, and its name is known only then. So
// a form says with the host's field "NewInvocation" which of its runs belong together: a text of its
// own choice, the same in all runs of one new invocation.
#ifndef HOST_NEW_INVOCATIONS_H_
#define HOST_NEW_INVOCATIONS_H_

#include <functional>
#include <string>
#include <vector>

#include "form_body.h"

namespace platen {

// Makes a new invocation of a service in a copy of the template that is not kept, and returns the
// name that it got; "" when it cannot be made.
using InvocationMaker = std::function<std::string(const std::string& service)>;

struct NamedEdits {
  std::vector<FormField> fields;  // empty with a fault
  std::string fault;              // a sentence naming the run, or ""
};

// Takes the fields "NewInvocation" out of a post. Of the runs that carry the same one the first
// names no invocation, so that the handler makes it, and the others name what the handler will have
// made. These runs go first: what a new invocation is called depends on what the template holds, and
// so must not depend on the other runs. For the same reason such a post is at fault when another of
// its runs makes an invocation too. A post without "NewInvocation" stays as it is.
NamedEdits name_new_invocations(const std::vector<FormField>& posted, const InvocationMaker& make);

}  // namespace platen

#endif  // HOST_NEW_INVOCATIONS_H_
