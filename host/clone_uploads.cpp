// Sealed clone files in the database.
// SPDX-License-Identifier: MIT
#include "clone_uploads.h"

#include <utility>

namespace platen {
namespace {

constexpr int64_t kKeptSeconds = 3600;
constexpr int64_t kKept = 5;

constexpr char kSchema[] =
    "CREATE TABLE IF NOT EXISTS clone_upload ("
    "number INTEGER PRIMARY KEY AUTOINCREMENT, holder TEXT NOT NULL UNIQUE, id TEXT NOT NULL,"
    " kept INTEGER NOT NULL, sealed TEXT NOT NULL)";

}  // namespace

CloneUploads::CloneUploads(Database& database, Clock clock)
    : database_(database), clock_(std::move(clock)), key_(database, "uploaded") {
  database_.make(kSchema);
}

std::string CloneUploads::keep(std::string_view cookie, std::string_view text) {
  std::string id = random_token();
  const int64_t now = clock_();
  Transaction transaction(database_);
  database_.run(
      "INSERT OR REPLACE INTO clone_upload (holder, id, kept, sealed) VALUES (?1, ?2, ?3, ?4)",
      key_.hash(cookie), id, now, seal(text, cookie));
  database_.run("DELETE FROM clone_upload WHERE abs(?1 - kept) > ?2", now, kKeptSeconds);
  database_.run(
      "DELETE FROM clone_upload WHERE number IN (SELECT number FROM clone_upload"
      " ORDER BY number DESC LIMIT -1 OFFSET ?1)",
      kKept);
  transaction.commit();
  return id;
}

std::string CloneUploads::find(std::string_view cookie, std::string_view id) {
  Statement found = database_.prepare("SELECT id, kept, sealed FROM clone_upload WHERE holder = ?1",
                                      key_.hash(cookie));
  if (!found.step() || found.text(0) != id || clock_() - found.integer(1) > kKeptSeconds) return "";
  return unseal(found.text(2), cookie).value_or("");
}

void CloneUploads::drop(std::string_view cookie) {
  database_.run("DELETE FROM clone_upload WHERE holder = ?1", key_.hash(cookie));
}

}  // namespace platen
