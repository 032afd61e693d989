// Lets one process at a time change what the device's state names.
// SPDX-License-Identifier: MIT
#ifndef HOST_STATE_LOCK_H_
#define HOST_STATE_LOCK_H_

#include <string>

namespace platen {

// Locks the directory of the database while it lives, as the store locks those of the templates:
// for the names that forms give, and for the upkeep of the mailbox. Waits for another holder; a
// process that locks twice waits for ever. Without the lock, such as in a directory that cannot be
// opened, both are only less safe.
class StateLock {
 public:
  explicit StateLock(const std::string& database_file);
  ~StateLock();
  StateLock(const StateLock&) = delete;
  StateLock& operator=(const StateLock&) = delete;

 private:
  int directory_;
};

}  // namespace platen

#endif  // HOST_STATE_LOCK_H_
