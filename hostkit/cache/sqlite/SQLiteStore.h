#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "hostkit/cache/sqlite/SQLiteCacheFailure.h"
#include "hostkit/cache/sqlite/SQLiteDatabase.h"
#include "vellora/Platform/Values/Date.h"
#include "vellora/Platform/Values/Error.h"
#include "vellora/Platform/Values/Result.h"

namespace vellora::hostkit {

/// The connection that a `SQLiteCache` and its tables share.
///
/// Ownership: shared by the cache and its tables; the connection closes with the last of them.
///
/// Threads: synchronises itself: one operation at a time. The observer is called while no lock is held.
///
/// Errors: an operation that fails leaves the file as it was before it, and the observer is told. One that
/// finds the file damaged has it set aside, and is run once more on the fresh file. Where no fresh file can
/// be had, each further operation tries to open one before it fails.
class SQLiteStore {
 public:
  using Access = SQLiteCacheFailure::Operation;
  using Operation = std::function<void(SQLiteDatabase&)>;
  using Observer = std::function<void(const SQLiteCacheFailure&)>;

  SQLiteStore(std::shared_ptr<SQLiteDatabase> database, std::string path,
              std::chrono::milliseconds busyTimeout, std::function<Date()> clock,
              std::optional<std::string> owner = std::nullopt, Observer observer = nullptr);

  /// Makes the file the owner's, if there is one to be. Gives the error, or no value.
  [[nodiscard]] std::optional<Error> claim();

  /// Runs `operation`, which must start over when it is called again and must call nothing of a caller's: it
  /// runs under the lock. True when it met with no failure. `access` is what the observer is told otherwise.
  bool perform(const Operation& operation, Access access = Access::writing);

  /// Lets go of what the connection keeps in memory.
  void releaseMemory();

  /// The present; called while no lock is held.
  [[nodiscard]] Date date() const { return clock_(); }

 private:
  using Opened = Result<std::shared_ptr<SQLiteDatabase>>;

  [[nodiscard]] std::optional<Error> attempt(const Operation& operation);
  [[nodiscard]] std::optional<Error> openAgain();
  [[nodiscard]] std::optional<Error> adopt(Opened opened);

  const std::string path_;
  const std::chrono::milliseconds busyTimeout_;
  const std::function<Date()> clock_;
  const std::optional<std::string> owner_;
  const Observer observer_;

  std::mutex mutex_;                          // guards what follows
  std::shared_ptr<SQLiteDatabase> database_;  // null while a damaged file cannot be replaced
};

}  // namespace vellora::hostkit
