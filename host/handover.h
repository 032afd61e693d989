// What one answer leaves for a page that comes after it.
// SPDX-License-Identifier: MIT
//
// A form that was carried out ends in a redirection, so what it has to say waits for the next page;
// what was typed when a session had ended waits for the login. The texts may hold passwords: they
// are sealed with the visitor's cookie, of which the database has a hash only. All functions may
// throw DatabaseError.
#ifndef HOST_HANDOVER_H_
#define HOST_HANDOVER_H_

#include <string>
#include <string_view>

#include "clock.h"
#include "device/database.h"
#include "secrets.h"

namespace platen {

class Handover {
 public:
  // Requires `database` to outlive the object.
  explicit Handover(Database& database, Clock clock = system_time);

  // Leaves a text for the holder of the cookie under a name, in place of one left before. Returns
  // whether it is kept: texts of more than 256 KiB are not. The latest 100 of the holders with a
  // session, be it ended, are, and the latest 100 of all others, for an hour at most: who makes up
  // cookies pushes out nothing of those who have logged in.
  bool leave(std::string_view cookie, bool has_session, std::string_view name,
             std::string_view text);

  // Takes the text that was left, once; "" when there is none.
  std::string take(std::string_view cookie, std::string_view name);

 private:
  std::string key_of(std::string_view cookie, std::string_view name) const;

  Database& database_;
  Clock clock_;
  SecretKey key_;
};

}  // namespace platen

#endif  // HOST_HANDOVER_H_
