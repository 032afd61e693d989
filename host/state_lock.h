// Lets one process at a time change what the device's state names.
// SPDX-License-Identifier: MIT
#ifndef HOST_STATE_LOCK_H_
#define HOST_STATE_LOCK_H_

#include <string>

namespace platen {

// Locks the directory of the database while it lives, as the store locks those of the templates:
// for the names that forms give, and for the upkeep of the mailbox. Waits for another holder; a
// process that locks twice waits for ever. A directory that cannot be opened or locked is logged,
// and error() tells it: nothing is to be changed then.
class StateLock {
 public:
  explicit StateLock(const std::string& database_file);
  ~StateLock();
  StateLock(const StateLock&) = delete;
  StateLock& operator=(const StateLock&) = delete;

  // What to tell the user where the lock is not held; "" where it is.
  const std::string& error() const { return error_; }

 private:
  int directory_;
  std::string error_;
};

}  // namespace platen

#endif  // HOST_STATE_LOCK_H_
