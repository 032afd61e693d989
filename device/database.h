// One SQLite database: opened once in each process, durable, safe to share between processes.
// SPDX-License-Identifier: MIT
//
// The settings, accounts, sessions and the audit trail live in one file. Whatever was written
// stands after the kill of any process and a loss of power. Every operation may throw
// DatabaseError; what was not committed by then has not happened.
#ifndef DEVICE_DATABASE_H_
#define DEVICE_DATABASE_H_

#include <sqlite3.h>
#include <sys/types.h>

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

namespace platen {

// The database cannot serve; what() names the file, the reason and what to do.
class DatabaseError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A prepared statement with its values bound. It must not outlive its database.
class Statement {
 public:
  // Runs up to the next row. Returns false at the end.
  bool step();

  // A column of the row that stands ready, counted from 0; 0 and "" for a null.
  int64_t integer(int column) const;
  std::string text(int column) const;

 private:
  friend class Database;
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
  };

  Statement(const std::string& file, sqlite3* connection, std::string_view sql);
  void bind(int number, int64_t value);
  void bind(int number, std::string_view value);  // the bytes are copied
  void check(int result) const;

  const std::string& file_;
  sqlite3* connection_;
  std::unique_ptr<sqlite3_stmt, Finalize> statement_;
};

// The connection of a process to the database file.
class Database {
 public:
  // Names the file; nothing is opened before the first use. A process made by fork() opens a
  // connection of its own at its first use and leaves its parent's alone.
  explicit Database(std::string file);
  ~Database();
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  // Opens the file now, and makes it, readable by its owner only, when it is missing.
  // A database of another program is refused.
  void open();

  // Runs the statements of a schema, separated by ";", in one transaction.
  void make(const char* schema);

  // A statement whose parameters ?1, ?2, ... get the values in order: whole numbers and texts.
  template <typename... Values>
  Statement prepare(std::string_view sql, const Values&... values) {
    open();
    Statement statement(file_, connection_, sql);
    int number = 0;
    (statement.bind(++number, values), ...);
    return statement;
  }

  // Runs a statement to its end. Returns how many rows it changed.
  template <typename... Values>
  int run(std::string_view sql, const Values&... values) {
    Statement statement = prepare(sql, values...);
    while (statement.step()) {
    }
    return sqlite3_changes(connection_);
  }

  const std::string& file() const { return file_; }

 private:
  bool is_new(sqlite3* connection) const;
  void claim(sqlite3* connection) const;
  void execute(sqlite3* connection, const char* sql) const;
  void use_write_ahead_log(sqlite3* connection) const;

  std::string file_;
  sqlite3* connection_ = nullptr;
  pid_t owner_ = 0;  // the process that opened `connection_`
};

// A writer's transaction, begun when it is built; rolled back at its end unless it was committed.
class Transaction {
 public:
  explicit Transaction(Database& database);
  ~Transaction();
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  void commit();

 private:
  Database& database_;
  bool open_ = true;
};

}  // namespace platen

#endif  // DEVICE_DATABASE_H_
