// Takes over a changed configuration and changed pages while platend serves.
// SPDX-License-Identifier: MIT
#ifndef HOST_RELOAD_H_
#define HOST_RELOAD_H_

#include "front.h"
#include "options.h"
#include "service.h"

namespace platen {

// Reads the configuration file again and checks the pages that it names. When all is sound, changes
// `options`, `service` and `front`, which may be null, for the workers that are started from now
// on, and returns true; a setting that counts from the next start only is named in the log and
// stays. Otherwise logs each fault, changes nothing and returns false.
bool reload(Options* options, Service* service, Front* front);

}  // namespace platen

#endif  // HOST_RELOAD_H_
