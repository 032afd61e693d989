// Reads chosen groups from the device into a clone document.
// SPDX-License-Identifier: MIT
#ifndef HOST_CLONE_MAKER_H_
#define HOST_CLONE_MAKER_H_

#include <set>
#include <string>

#include "clone_contents.h"
#include "clone_file.h"
#include "parser_module.h"

namespace platen {

// Reads the templates and settings that belong to these tokens. The templates are of one moment:
// while their bytes are read nobody can save in their directories. A template that the store
// refuses, or whose name is no text, is named among those left out. Secrets are not in the document.
// On failure sets `fault` to a sentence for the user. Requires: no template of these directories is
// saved by this process meanwhile.
CloneDocument make_clone(const ParserModule& module, const CloneContents& contents,
                         const std::set<int>& tokens, std::string* fault);

// The file of that name in a directory, as messages call it.
std::string file_name_of(const std::string& path);

// What the store says of a staged file, with the template's own name in place of the staged path.
std::string store_words(const std::string& words, const std::string& staged,
                        const std::string& path);

}  // namespace platen

#endif  // HOST_CLONE_MAKER_H_
