// The kinds of fields and what their values must be.
// SPDX-License-Identifier: MIT
//
// Parser functions read fields by name and trust most of what they find: values are judged before.
#ifndef HOST_FIELD_RULES_H_
#define HOST_FIELD_RULES_H_

#include <cstddef>
#include <string>
#include <string_view>

namespace platen {

// What a value must be. A path that is not in its shortest form is refused, never rewritten, as the
// module and the store compare and cut paths by their bytes.
enum class Kind {
  text,             // any bytes but NUL
  word,             // one of the rule's words
  secret,           // a password: no control character; never shown again, logged or audited
  template_path,    // of a template file below a pool
  directory,        // a pool or a directory below one
  file_name,        // of a template file, without a directory
  entry,            // the name of a mailbox folder, or of a file of a job
  optional_entry,   // the same or nothing
  folder,           // a folder's name that the settings can hold
  optional_word,    // one of the rule's words or nothing
  optional_moment,  // a day, minute or second in UTC, or nothing
  optional_number,  // a whole number from 1 on, or nothing
  file,             // an uploaded file of any bytes
};

struct FieldRule {
  std::string_view name;
  Kind kind;
  size_t limit;                 // in bytes
  std::string_view words = "";  // of the kinds of words: these, separated by blanks
};

// Returns what is wrong with a value, as the rest of a sentence that begins with the field, or "".
std::string value_fault(const FieldRule& rule, std::string_view value);

// Whether the last part of a path is a name by which the store lists templates: it ends in ".KTP" in
// any case, has more than that, and is not hidden.
bool is_template_name(std::string_view path);

// The directory of the pool that a path lies in, such as "/tmp/template/pool"; "" when in none.
std::string_view pool_of(std::string_view path);

}  // namespace platen

#endif  // HOST_FIELD_RULES_H_
