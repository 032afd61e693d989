// The command line "platend doctor": all that a support engineer asks for, in one text.
// SPDX-License-Identifier: MIT
#ifndef HOST_DOCTOR_COMMAND_H_
#define HOST_DOCTOR_COMMAND_H_

#include <cstdio>
#include <string>
#include <vector>

#include "options.h"

namespace platen {

// Carries out "platend doctor [FILE]": prints versions, options, the names of the device's settings,
// directories and their rights, free space, templates that cannot be opened, the latest errors of the
// log file and the latest refusals to `out`, or into a new FILE for its owner alone. May run beside a
// serving platend, and changes nothing.
//
// The text is fit to be sent away: each thing in it is of a kind that holds no password, PIN or
// session. Of what may hold one, as a line of the log, only parts of a known form are told.
//
// `configuration_faults` is how many there are in the configuration file; `options` are then those of
// the command line. What cannot be found out is told in its place. Returns the exit status: 0 done, 1
// FILE cannot be written, or is there already and stays as it is, 2 not understood.
int doctor_command(const std::vector<std::string>& words, const Options& options,
                   size_t configuration_faults, std::FILE* out, std::FILE* err);

}  // namespace platen

#endif  // HOST_DOCTOR_COMMAND_H_
