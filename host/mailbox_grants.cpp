// Grants in the database.
// SPDX-License-Identifier: MIT
#include "mailbox_grants.h"

#include <utility>

namespace platen {
namespace {

constexpr int64_t kGranted = 10 * kMinute;

constexpr char kSchema[] =
    "CREATE TABLE IF NOT EXISTS mailbox_grant ("
    "sid TEXT NOT NULL, folder TEXT NOT NULL, subf TEXT NOT NULL, file TEXT NOT NULL,"
    " action TEXT NOT NULL, granted INTEGER NOT NULL,"
    " PRIMARY KEY (sid, folder, subf, file, action)) WITHOUT ROWID";

}  // namespace

MailboxGrants::MailboxGrants(Database& database, Clock clock)
    : database_(database), clock_(std::move(clock)), key_(database, "mailboxs") {
  database_.make(kSchema);
}

std::string MailboxGrants::sid(std::string_view cookie) const { return key_.hash(cookie); }

void MailboxGrants::grant(std::string_view sid, const JobAction& job) {
  const int64_t now = clock_();
  Transaction transaction(database_);
  database_.run("DELETE FROM mailbox_grant WHERE abs(?1 - granted) >= ?2", now, kGranted);
  database_.run("INSERT OR REPLACE INTO mailbox_grant VALUES (?1, ?2, ?3, ?4, ?5, ?6)", sid,
                job.folder, job.subf, job.file, job.action, now);
  transaction.commit();
}

bool MailboxGrants::has(std::string_view sid, const JobAction& job) {
  Statement found = database_.prepare(
      "SELECT 1 FROM mailbox_grant WHERE sid = ?1 AND folder = ?2 AND subf = ?3 AND file = ?4"
      " AND action = ?5 AND abs(?6 - granted) < ?7",
      sid, job.folder, job.subf, job.file, job.action, clock_(), kGranted);
  return found.step();
}

bool MailboxGrants::use(std::string_view sid, const JobAction& job) {
  return database_.run(
             "DELETE FROM mailbox_grant WHERE sid = ?1 AND folder = ?2 AND subf = ?3"
             " AND file = ?4 AND action = ?5 AND abs(?6 - granted) < ?7",
             sid, job.folder, job.subf, job.file, job.action, clock_(), kGranted) == 1;
}

void MailboxGrants::forget_folder(std::string_view folder) {
  database_.run("DELETE FROM mailbox_grant WHERE folder = ?1", folder);
}

void MailboxGrants::forget_session(std::string_view sid) {
  database_.run("DELETE FROM mailbox_grant WHERE sid = ?1", sid);
}

}  // namespace platen
