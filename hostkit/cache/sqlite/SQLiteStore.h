#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "hostkit/cache/sqlite/SQLiteDatabase.h"
#include "vellora/Platform/Values/Date.h"

namespace vellora::hostkit {

/// The connection that a `SQLiteCache` and its tables share.
///
/// Ownership: shared by the cache and its tables; the connection closes with the last of them.
///
/// Threads: synchronises itself: one operation at a time.
///
/// Errors: an operation that fails leaves the file as it was before it. One that finds the file damaged has
/// it set aside, and is run once more on the fresh file. Where no fresh file can be had, each further
/// operation tries to open one before it fails.
class SQLiteStore {
 public:
  SQLiteStore(std::shared_ptr<SQLiteDatabase> database, std::string path,
              std::chrono::milliseconds busyTimeout, std::function<Date()> clock);

  /// Runs `operation`, which must start over when it is called again and must call nothing of a caller's: it
  /// runs under the lock. True when it met with no failure.
  bool perform(const std::function<void(SQLiteDatabase&)>& operation);

  /// The present; called while no lock is held.
  [[nodiscard]] Date date() const { return clock_(); }

 private:
  void replaceDamagedFile();
  void openAgain();

  const std::string path_;
  const std::chrono::milliseconds busyTimeout_;
  const std::function<Date()> clock_;

  std::mutex mutex_;                          // guards what follows
  std::shared_ptr<SQLiteDatabase> database_;  // null while a damaged file cannot be replaced
};

}  // namespace vellora::hostkit
