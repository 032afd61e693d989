// Sealed texts in the database.
// SPDX-License-Identifier: MIT
#include "handover.h"

#include <utility>

namespace platen {
namespace {

constexpr int64_t kKeptSeconds = 3600;
constexpr int64_t kKept = 100;
constexpr size_t kLongestText = size_t{256} * 1024;

constexpr char kSchema[] =
    "CREATE TABLE IF NOT EXISTS left_text ("
    "number INTEGER PRIMARY KEY AUTOINCREMENT, key TEXT NOT NULL UNIQUE, left INTEGER NOT NULL,"
    " sealed TEXT NOT NULL, has_session INTEGER NOT NULL)";

}  // namespace

Handover::Handover(Database& database, Clock clock)
    : database_(database), clock_(std::move(clock)), key_(database, "handover") {
  database_.make(kSchema);
}

// The cookie has a fixed length, so no other pair gives the same text.
std::string Handover::key_of(std::string_view cookie, std::string_view name) const {
  return key_.hash(std::string(cookie).append(name));
}

bool Handover::leave(std::string_view cookie, bool has_session, std::string_view name,
                     std::string_view text) {
  if (text.size() > kLongestText) return false;
  const int64_t now = clock_();
  Transaction transaction(database_);
  database_.run(
      "INSERT OR REPLACE INTO left_text (key, left, sealed, has_session) VALUES (?1, ?2, ?3, ?4)",
      key_of(cookie, name), now, seal(text, cookie), has_session);
  database_.run("DELETE FROM left_text WHERE abs(?1 - left) > ?2", now, kKeptSeconds);
  database_.run(
      "DELETE FROM left_text WHERE number IN (SELECT number FROM left_text WHERE has_session = ?1"
      " ORDER BY number DESC LIMIT -1 OFFSET ?2)",
      has_session, kKept);
  transaction.commit();
  return true;
}

std::string Handover::take(std::string_view cookie, std::string_view name) {
  const std::string key = key_of(cookie, name);
  std::string sealed;
  {
    Statement found = database_.prepare("SELECT sealed, left FROM left_text WHERE key = ?1", key);
    if (!found.step()) return "";
    if (clock_() - found.integer(1) <= kKeptSeconds) sealed = found.text(0);
  }
  const bool mine = database_.run("DELETE FROM left_text WHERE key = ?1", key) == 1;
  return mine ? unseal(sealed, cookie).value_or("") : "";
}

}  // namespace platen
