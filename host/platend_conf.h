// platend.conf, the file that holds options of platend.
// SPDX-License-Identifier: MIT
//
// A line is a setting, "=" and its value, with blanks around each as one likes; the value reaches to
// the end of the line. Empty lines and lines that begin with "#" are skipped. A setting is an option
// of the command line without its dashes; a relative path is below the directory of the file.
#ifndef HOST_PLATEND_CONF_H_
#define HOST_PLATEND_CONF_H_

#include <string>
#include <vector>

#include "options.h"

namespace platen {

// The file that goes with the options of a command line: the one it names, else platend.conf in the
// directory of its settings. Empty when it names none and there is none.
std::string configuration_file(const Options& options);

// Sets in `options` what the file says. Returns its faults as "FILE:LINE: reason" or "FILE: reason"
// with the setting in the reason, in the order of its lines; what is faulty is not set.
std::vector<std::string> read_configuration(const std::string& file, Options* options);

// Turns the options of a command line, as parse_options() has read them, into those that count: the
// file's settings below them, and defaults below these. Returns the faults of the file, and of what
// contradicts itself; `options` is unchanged then.
std::vector<std::string> complete_options(Options* options);

}  // namespace platen

#endif  // HOST_PLATEND_CONF_H_
