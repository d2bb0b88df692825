#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "hostkit/cache/sqlite/LargeRows.h"
#include "hostkit/cache/sqlite/SQLiteFailure.h"
#include "hostkit/cache/sqlite/SQLiteStatement.h"

struct sqlite3;

namespace vellora::hostkit {

/// A connection to a database file, set up to distrust the file's content.
///
/// Ownership: closes the connection at the end. When the file is no longer the one under its name, SQLite
/// leaves the log file of that name alone, since it belongs to another database by then.
///
/// Threads: one thread at a time.
///
/// Errors: the first failure is remembered until `clearFailure`, and what follows it does nothing.
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

  /// Sets a number of the file's header that SQLite keeps under `name`, such as "user_version".
  void setHeaderNumber(const std::string& name, std::uint32_t number);

  /// Undoes the transaction that is open. Allocates nothing of its own and tells of no failure, since it runs
  /// where nothing may be thrown.
  void rollBack() noexcept;

  /// Remembers SQLite's result code `code` if it is the first failure.
  void note(int code) { failure_.note(code); }

  /// Remembers, as a failure, that the file was found damaged where SQLite did not notice: what was written
  /// cannot be found again.
  void noteDamage();

  [[nodiscard]] bool failed() const { return static_cast<bool>(failure_); }
  [[nodiscard]] int failure() const { return failure_.code(); }  ///< SQLite's result code, 0 for none
  void clearFailure() { failure_.clear(); }

  /// Forgets the failure, and undoes the transaction that a lack of memory has kept from being undone. That
  /// it still cannot be is the next failure.
  void startOver();

  /// True inside a transaction.
  [[nodiscard]] bool inTransaction() const;

  /// True when the file has been renamed or deleted since it was opened.
  [[nodiscard]] bool moved() const;

  /// What is kept of the rows that were read from it.
  [[nodiscard]] LargeRows& largeRows() { return largeRows_; }

  /// Lets go of the rows and pages that are kept in memory.
  void releaseMemory();

  /// Lets closing leave the file and its log as they are.
  void leaveUntouchedOnClose();

 private:
  SQLiteDatabase() = default;

  /// The database in the file that SQLite knows by `name`, its content still trusted.
  static Opened openAs(const std::string& name, int flags);

  [[nodiscard]] static Opened openUnchanging(const std::string& path);

  void distrustContent();

  sqlite3* handle_ = nullptr;  // set once, by `openAs`
  std::map<std::string_view, sqlite3_stmt*> statements_;
  LargeRows largeRows_;
  SQLiteFailure failure_;
};

}  // namespace vellora::hostkit
