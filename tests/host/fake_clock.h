// A clock that tests set.
// SPDX-License-Identifier: MIT
#ifndef TESTS_HOST_FAKE_CLOCK_H_
#define TESTS_HOST_FAKE_CLOCK_H_

#include "clock.h"

namespace platen {

struct FakeClock {
  int64_t now = 1'800'000'000;

  Clock clock() {
    return [this] { return now; };
  }
};

}  // namespace platen

#endif  // TESTS_HOST_FAKE_CLOCK_H_
