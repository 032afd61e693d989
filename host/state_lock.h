// Lets one process at a time change what the device's state names.
// SPDX-License-Identifier: MIT
#ifndef HOST_STATE_LOCK_H_
#define HOST_STATE_LOCK_H_

#include <string>

namespace platen {

// Locks the directory of the database while it lives, as the store locks those of the templates:
// for the forms that change templates or settings, for the upkeep of the mailbox, and for backups.
// Waits for another process that holds it; within a process the first lock counts, and those under
// it do nothing. A directory that cannot be opened or locked is logged,
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
  std::string path_;    // of the directory
  int directory_ = -1;  // stays so in a lock under another
  std::string error_;
};

}  // namespace platen

#endif  // HOST_STATE_LOCK_H_
