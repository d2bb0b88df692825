#pragma once

#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "hostkit/cache/sqlite/LargeRows.h"
#include "hostkit/cache/sqlite/SQLiteStatement.h"

struct sqlite3;

namespace vellora::hostkit {

/// A connection to a database file, set up to distrust the file's content.
///
/// Ownership: closes the connection at the end. When the file is no longer the one under its name, SQLite
/// leaves the log file of that name alone, since it belongs to another database by then. Threads: one thread
/// at a time. Errors: the first failure is remembered until `clearFailure`, and what follows it does nothing;
/// so a sequence of statements needs one look at its end.
class SQLiteDatabase {
 public:
  struct Opened {
    std::unique_ptr<SQLiteDatabase> database;  ///< null when it could not be opened
    int code = 0;                              ///< SQLite's result code
  };

  /// Opens the existing file `path` for reading and writing. A lock of another process is waited for as long
  /// as `busyTimeout`.
  [[nodiscard]] static Opened open(const std::string& path, std::chrono::milliseconds busyTimeout);

  /// Opens the existing file `path` so that no call can change it or its log; what SQLite needs beside it is
  /// gone again after closing. A file in a folder that nobody may write to can be read too.
  [[nodiscard]] static Opened openForReading(const std::string& path, std::chrono::milliseconds busyTimeout);

  ~SQLiteDatabase();
  SQLiteDatabase(const SQLiteDatabase&) = delete;
  SQLiteDatabase& operator=(const SQLiteDatabase&) = delete;

  /// The statement of that text, prepared once. `sql` must be a literal.
  [[nodiscard]] SQLiteStatement statement(std::string_view sql);

  /// Runs a statement that has no parameters, to its end.
  void run(std::string_view sql);

  void note(int code);

  /// Remembers, as a failure, that the file was found damaged where SQLite did not notice: what was written
  /// cannot be found again.
  void noteDamage();

  [[nodiscard]] bool failed() const { return failure_ != 0; }
  [[nodiscard]] int failure() const { return failure_; }  ///< SQLite's result code, 0 when there is none
  void clearFailure() { failure_ = 0; }

  /// True inside a transaction.
  [[nodiscard]] bool inTransaction() const;

  /// True when the file has been renamed or deleted since it was opened.
  [[nodiscard]] bool moved() const;

  /// What is kept of the rows that were read from it.
  [[nodiscard]] LargeRows& largeRows() { return largeRows_; }

  /// Lets closing leave the file and its log as they are.
  void leaveUntouchedOnClose();

 private:
  explicit SQLiteDatabase(sqlite3* handle) : handle_(handle) {}

  [[nodiscard]] static Opened openUnchanging(const std::string& path);

  void distrustContent();

  sqlite3* const handle_;
  std::map<std::string_view, sqlite3_stmt*> statements_;
  LargeRows largeRows_;
  int failure_ = 0;
};

/// A transaction that is undone unless it is committed.
class SQLiteTransaction {
 public:
  enum class Kind { reading, writing };

  SQLiteTransaction(SQLiteDatabase& database, Kind kind);
  ~SQLiteTransaction();
  SQLiteTransaction(const SQLiteTransaction&) = delete;
  SQLiteTransaction& operator=(const SQLiteTransaction&) = delete;

  void commit();

 private:
  SQLiteDatabase& database_;
};

/// True when `code` says that the file's content is damaged, as against locked, unreadable or full.
[[nodiscard]] bool meansDamage(int code);

/// True when `code` says that a table or column of ours is not there.
[[nodiscard]] bool meansOtherLayout(int code);

/// True when `code` says that another process holds the file.
[[nodiscard]] bool meansLocked(int code);

}  // namespace vellora::hostkit
