// The values handed out to callers and not yet released, by thread.
// SPDX-License-Identifier: MIT
#ifndef STORE_TEMPLATE_VALUES_H_
#define STORE_TEMPLATE_VALUES_H_

#include "template_text.h"

#pragma GCC visibility push(hidden)

namespace store {

// Returns the plain text as a malloc string of its own that is held until it is released, or null
// when memory is out.
char* hold_value(const Text& text);

// Frees a string that this thread holds; any other pointer is left alone.
void release_value(char* value);

// Frees all strings that this thread holds.
void release_all_values();

}  // namespace store

#pragma GCC visibility pop

#endif  // STORE_TEMPLATE_VALUES_H_
