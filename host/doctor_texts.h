// What of the log and of the audit trail may leave the device.
// SPDX-License-Identifier: MIT
#ifndef HOST_DOCTOR_TEXTS_H_
#define HOST_DOCTOR_TEXTS_H_

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "audit.h"

namespace platen {

// The errors and warnings at the end of a log.
struct LoggedErrors {
  std::vector<std::string> lines;  // the latest, oldest first
  size_t worker_ends = 0;          // workers that ended before their time
};

// Picks the latest `most` errors and warnings from the text of a log. Of each, its time, process,
// level and place in the sources are told, which name the message; of its text, which may hold what
// somebody typed, only a beginning of a known form. Other lines are left out.
LoggedErrors logged_errors(std::string_view log, size_t most);

// What may be told of an entry of the audit trail: its time, what was asked for if platend knows it,
// and the outcome as far as it is of a known form. Neither names nor objects.
std::string told_entry(const AuditEntry& entry);

}  // namespace platen

#endif  // HOST_DOCTOR_TEXTS_H_
