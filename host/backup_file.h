// What a backup holds, and its file: one SQLite database with a digest over all of it.
// SPDX-License-Identifier: MIT
//
// Accounts, settings, the audit trail and the history of the settings are copied row by row; sessions
// and what only counts for them, and the secret that signs them, are no part of a backup. All
// functions may throw DatabaseError.
#ifndef HOST_BACKUP_FILE_H_
#define HOST_BACKUP_FILE_H_

#include <functional>
#include <string>

#include "device/database.h"

namespace platen {

struct BackupTemplate {
  std::string name;  // as the device knows it: "/tmp/template/pool/web/A.KTP"
  unsigned mode = 0;
  std::string bytes;
  std::string fault;  // why the store could not read it when the backup was made; "" = it could
};

// Writes a backup into a new database. What is added before finish() is one transaction.
class BackupWriter {
 public:
  // Begins with what the database file `state` holds, all of it at one moment. Requires `file` to
  // outlive the object.
  BackupWriter(Database& file, const std::string& state);

  void add_directory(const std::string& name, unsigned mode);
  void add_template(const BackupTemplate& one);

  // Notes version and time, adds the digest, and leaves one file without a journal.
  void finish(const std::string& version, const std::string& time);

 private:
  Database& file_;
};

// Reads the file of a backup that is somebody else's: nothing in it is trusted before it is checked.
class BackupReader {
 public:
  // Requires `file` to outlive the object.
  explicit BackupReader(Database& file) : file_(file) {}

  // What is wrong with the file, as the rest of a sentence that begins with its name; "" = every row
  // is what the backup wrote, and every name lies in a pool.
  std::string fault();

  // When the backup was made.
  std::string time();

  // Calls `visit` for the directories, each behind the one above it, and for the templates, by name,
  // until it returns false.
  void each_directory(const std::function<bool(const std::string& name, unsigned mode)>& visit);
  void each_template(const std::function<bool(const BackupTemplate& one)>& visit);

  // Whether the backup holds a template of that name.
  bool has_template(const std::string& name);

 private:
  Database& file_;
};

// Puts accounts and settings of the checked backup `file` in the place of those of `state`, in one
// transaction. The audit trail and the history of the settings lose nothing: what only the backup
// holds is added. A changed setting enters that history. All sessions end.
void restore_rows(Database& state, const std::string& file);

}  // namespace platen

#endif  // HOST_BACKUP_FILE_H_
