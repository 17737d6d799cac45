// SPDX-License-Identifier: MIT
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "QuilletKit/Base/Bytes.h"

namespace quillet {

/// A failed database call. what() holds the library's fixed text for the code, never a value.
struct DatabaseError : std::runtime_error {
  explicit DatabaseError(int result);
  int code;
};

/// A file that can't serve as the database: damaged, foreign, or written by a newer version. what() is for people.
struct DatabaseUnusable : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// One execution of a prepared statement: rows are read one after the other. Ends with its destruction.
class Query {
 public:
  explicit Query(sqlite3_stmt* statement) : statement_(statement) {}
  Query(const Query&) = delete;
  Query& operator=(const Query&) = delete;
  ~Query();

  /// Steps to the next row; false after the last.
  bool next();

  std::string text(int column) const;
  std::int64_t integer(int column) const { return sqlite3_column_int64(statement_, column); }
  ByteView blob(int column) const;
  bool isNull(int column) const { return sqlite3_column_type(statement_, column) == SQLITE_NULL; }
  std::optional<std::string> optionalText(int column) const;
  std::optional<std::int64_t> optionalInteger(int column) const;

 private:
  sqlite3_stmt* statement_;
};

/// A prepared statement, kept for the life of the database. Values must live until the query ends.
class Statement {
 public:
  explicit Statement(sqlite3_stmt* statement) : statement_(statement, sqlite3_finalize) {}

  template <typename... Values>
  Query query(const Values&... values) {
    int index = 0;
    (bind(++index, values), ...);
    return Query(statement_.get());
  }
  template <typename... Values>
  void run(const Values&... values) {
    auto running = query(values...);
    while (running.next()) {
    }
  }

 private:
  void bind(int index, std::string_view value);
  void bind(int index, std::int64_t value);
  void bind(int index, ByteView value);
  void bind(int index, const std::string& value) { bind(index, std::string_view(value)); }
  template <typename Value>
  void bind(int index, const std::optional<Value>& value) {
    if (value) {
      bind(index, *value);
    } else {
      bindNull(index);
    }
  }
  void bindNull(int index);

  std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> statement_;
};

/// The write-ahead log as a file, to be brought onto the disk from any thread. Empty for a database in memory.
class WriteAheadLog {
 public:
  explicit WriteAheadLog(std::filesystem::path path) : path_(std::move(path)) {}
  bool inMemory() const { return path_.empty(); }
  /// What is committed before survives a power failure afterwards. False when that failed.
  bool sync() const;

 private:
  std::filesystem::path path_;
};

/// One SQLite connection with the current schema: write-ahead log, readable by the owner alone. A committed change
/// survives a crash of the process at once, and a power failure after a sync of its log, `makeDurable` or the next
/// checkpoint. One thread.
class Database {
 public:
  /// Opens and checks, or creates; ":memory:" for none on disk. Throws DatabaseUnusable, DatabaseError or
  /// std::filesystem::filesystem_error.
  explicit Database(const std::filesystem::path& path);

  Statement prepare(std::string_view sql);
  void execute(const std::string& sql);
  /// The rows that the last statement changed.
  int changes() const { return sqlite3_changes(connection_.get()); }
  /// Those since the opening, in any table.
  std::int64_t changesInAll() const { return sqlite3_total_changes64(connection_.get()); }
  bool inTransaction() const { return sqlite3_get_autocommit(connection_.get()) == 0; }
  WriteAheadLog log() const;
  /// For a change that is committed already, so a failure is logged: the next checkpoint makes up for it.
  bool makeDurable();
  /// As `makeDurable`, and drops the log if nobody reads it, so that what was deleted stands nowhere in the files.
  void makeDurableAndForget();
  /// Writes what stands there already, to see whether writing works.
  void rewriteVersion();

 private:
  void open();
  void requireWhole();
  std::int64_t number(std::string_view sql);
  void migrate();

  std::unique_ptr<sqlite3, int (*)(sqlite3*)> connection_;
};

/// Rolls back unless committed.
class Transaction {
 public:
  explicit Transaction(Database& database) : database_(database) { database_.execute("BEGIN IMMEDIATE"); }
  ~Transaction();
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;
  void commit();

 private:
  Database& database_;
  bool done_ = false;
};

}  // namespace quillet
