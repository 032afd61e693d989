// The files that a start or a reload takes over: pages, phrases, certificate, the device's paths.
// SPDX-License-Identifier: MIT
#ifndef HOST_SERVED_FILES_H_
#define HOST_SERVED_FILES_H_

#include <string>
#include <vector>

#include "options.h"

namespace platen {

// One line for each fault of the pages and of the names of clone groups, and one for the first fault
// of the phrase files and for each file of the certificate that cannot be read; empty when all may be
// served. Pages can be checked without a device.
std::vector<std::string> served_file_faults(const Options& options);

// Loads the phrases and the device's paths. Returns false and sets `error` to a sentence that names
// the file when one cannot be taken; those that were loaded before stay in use then.
bool load_served_files(const Options& options, std::string* error);

}  // namespace platen

#endif  // HOST_SERVED_FILES_H_
