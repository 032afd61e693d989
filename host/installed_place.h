// Where the files lie that are installed with the program.
// SPDX-License-Identifier: MIT
#ifndef HOST_INSTALLED_PLACE_H_
#define HOST_INSTALLED_PLACE_H_

#include <string>
#include <string_view>

namespace platen {

// The absolute path of a file or directory at `place`, which is relative to the directory of the
// running program; links on the way are followed as far as what they lead to exists.
std::string installed_place(std::string_view place);

}  // namespace platen

#endif  // HOST_INSTALLED_PLACE_H_
