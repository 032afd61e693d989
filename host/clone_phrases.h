// Checks the phrases that name clone groups.
// SPDX-License-Identifier: MIT
#ifndef HOST_CLONE_PHRASES_H_
#define HOST_CLONE_PHRASES_H_

#include <string>
#include <vector>

namespace platen {

// The list of clone groups is one text with a "," and a "?" behind its names, so no name may hold
// one. Reads the clone file of the device's paths and the phrase files of `directories`. Returns one
// line for each phrase of a group or sub-group that holds one, "FILE:LINE: reason", and one for each
// phrase file that cannot be read. A directory or clone file that is missing has no faults.
// Requires: the paths are loaded.
std::vector<std::string> clone_phrase_faults(const std::vector<std::string>& directories);

}  // namespace platen

#endif  // HOST_CLONE_PHRASES_H_
