// Clone files that were read in and wait to be applied.
// SPDX-License-Identifier: MIT
//
// Each belongs to one session: it is sealed with the session's cookie, of which the database has a
// hash only. All functions may throw DatabaseError.
#ifndef HOST_CLONE_UPLOADS_H_
#define HOST_CLONE_UPLOADS_H_

#include <string>
#include <string_view>

#include "clock.h"
#include "device/database.h"
#include "secrets.h"

namespace platen {

class CloneUploads {
 public:
  // Requires `database` to outlive the object.
  explicit CloneUploads(Database& database, Clock clock = system_time);

  // Keeps a file for the holder of the cookie, in place of an earlier one. Returns the id that it is
  // found by. The latest 5 files of all holders are kept, for an hour.
  std::string keep(std::string_view cookie, std::string_view text);

  // The file of that id; "" when it is gone, or somebody else's.
  std::string find(std::string_view cookie, std::string_view id);

  // Forgets the file of the holder of the cookie.
  void drop(std::string_view cookie);

 private:
  Database& database_;
  Clock clock_;
  SecretKey key_;
};

}  // namespace platen

#endif  // HOST_CLONE_UPLOADS_H_
