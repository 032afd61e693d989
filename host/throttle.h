// Slows down those who guess passwords, per account and per address.
// SPDX-License-Identifier: MIT
//
// Three counters grow with each failure: that of the subject from this address (5 tries are free),
// that of the subject from anywhere (20) and that of the address for any subject (50). When the
// free tries are used up, the waits are 1, 2, 4 seconds and so on up to 15 minutes; the longest
// counts. So one address cannot quickly lock out the others. A counter is forgotten after an hour
// without a failure. Counters are kept in the database: neither a restart nor another worker
// forgets them.
#ifndef HOST_THROTTLE_H_
#define HOST_THROTTLE_H_

#include <array>
#include <string>
#include <string_view>

#include "clock.h"
#include "device/database.h"
#include "secrets.h"

namespace platen {

class Throttle {
 public:
  // Requires `database` to outlive the object. Throws DatabaseError, as all functions do.
  explicit Throttle(Database& database, Clock clock = system_time);

  // To be called before a secret is checked. Returns 0 when it may be checked now, and counts it as
  // failed until succeeded() is called, so that tries that run at the same time are counted too;
  // else the seconds to wait, and nothing is counted. `subject` names what is guarded
  // ("account:admin"); IPv6 addresses count by their first 64 bits.
  int64_t begin(std::string_view subject, std::string_view address);

  // The try that began is forgiven, and the failures of this subject from this address with it.
  void succeeded(std::string_view subject, std::string_view address);

  // All failures of this subject are forgotten, from wherever: its secret is another one now. Those
  // of the addresses stay.
  void forget(std::string_view subject);

 private:
  struct Counter {
    std::string key;
    int64_t free_tries;
  };

  std::array<Counter, 3> counters_of(std::string_view subject, std::string_view address) const;

  Database& database_;
  Clock clock_;
  SecretKey subject_key_;  // people type passwords into the name's field: none is kept readable
};

}  // namespace platen

#endif  // HOST_THROTTLE_H_
