#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "hostkit/cache/sqlite/SQLiteCacheError.h"
#include "hostkit/cache/sqlite/SQLiteCacheFailure.h"
#include "vellora/Host/Cache.h"
#include "vellora/Platform/Values/Data.h"
#include "vellora/Platform/Values/Date.h"
#include "vellora/Platform/Values/Error.h"
#include "vellora/Platform/Values/Export.h"
#include "vellora/Platform/Values/Result.h"

namespace vellora::hostkit {

class SQLiteStore;

/// A `Cache` in one file, which outlives the process.
///
/// Rows written without a data key are keyed by their meta, so equal meta replaces the earlier row. An exact
/// query yields the newest row first. A filter made by `metaEquals` is answered through an index, and so is a
/// purge by `dataKeyEquals`; any other filter makes the whole table be read. Rows that are too old go with
/// the next write to their table; a row dated in the future, because the clock was set back, is kept no
/// longer than one dated in the past.
///
/// Every blob and row bears a checksum: a damaged one is not there. A file that is damaged as a whole is
/// renamed to NAME.damaged-1 (or the next free number) and a fresh one begun, at `open` or when the damage is
/// met; where that fails, each further call tries again. One of nothing but zero bytes, as a loss of power
/// leaves it, counts as damaged. A file that never was one of ours is refused and left as it is; so
/// is one that belongs to another user, also where a superuser opens it.
///
/// The large rows that were asked for last are kept in memory, 16 MiB of them at most, verified and shared.
/// Another process's write to such a row is seen like any other; damage done to it after it was read is not.
///
/// While a cache is open, NAME-shm is mapped into memory: whoever cuts that file short ends the process
/// (SIGBUS).
///
/// A loss of power may lose the last writes, never mix them. What is deleted is overwritten in the file,
/// when the cache is closed at the latest.
///
/// A cache knows whose it is when it is told so by `Options::owner`: it is then refused to every other owner.
/// `destroy` deletes a cache with everything that belongs to it, such as at a sign-out.
///
/// Ownership: tables keep the file open for as long as anyone holds them, also without the cache.
///
/// Threads: every call may come from any thread; they take turns. No lock is held while a filter is called.
/// Several processes may use one file.
///
/// Errors: `open` tells a `SQLiteCacheError`. After it, a write that fails (disk full, locked by another
/// process) gives false, a read that fails finds nothing, and the observer is told of both.
class VELLORA_EXPORT SQLiteCache final : public CorvaneSDK::Cache {
 public:
  /// Told of each call that failed, on its thread, before it returns and while no lock is held.
  using Observer = std::function<void(const SQLiteCacheFailure&)>;

  struct Options {
    /// Dates the rows and tells their age; called from any thread, while no lock is held.
    std::function<Date()> clock = now;

    /// How long a call waits for another process that holds the file. SQLite itself waits longer, 10 seconds
    /// at most, for one that was stopped (not killed) in the midst of writing the log's index.
    std::chrono::milliseconds busyTimeout{100};

    /// Whose entries these are: a text that tells server and user, such as both names, or the server's
    /// address and a token that is never renewed. A file that belongs to another owner is refused
    /// (`otherOwner`); one that belongs to nobody becomes this owner's. The file keeps a keyed digest of the
    /// text, not the text. Absent: every file is opened, and none is marked.
    std::optional<std::string> owner = {};

    Observer observer = {};
  };

  /// Opens the cache at `path`, or creates it: the file with mode 0600, missing folders with mode 0700.
  /// `path` is a plain path, resolved now.
  [[nodiscard]] static Result<std::shared_ptr<SQLiteCache>> open(const std::string& path, Options options);
  [[nodiscard]] static Result<std::shared_ptr<SQLiteCache>> open(const std::string& path);

  /// Deletes the cache at `path` with all that belongs to it: its log, and what was set aside as damaged,
  /// with its logs. What is not there needs no deletion. Gives the error, or no value when no byte of the
  /// cache is left in the folder.
  ///
  /// While any program has the cache open, this one included, it is refused (`locked`) and nothing is
  /// deleted: else that program would go on to write to a cache that should be gone. A damaged cache is
  /// deleted even so, since it cannot be locked. Let go of the service, the cache and its tables first. A
  /// file that is no cache, or that a newer version wrote, is refused, too.
  [[nodiscard]] static std::optional<Error> destroy(const std::string& path);

  ~SQLiteCache() override;

  [[nodiscard]] std::optional<Data> load(const std::string& key) override;
  bool save(const Data& data, const std::string& key) override;
  bool remove(const std::string& key) override;
  [[nodiscard]] std::shared_ptr<CorvaneSDK::CacheTable> openTable(const std::string& tableKey) override;
  [[nodiscard]] std::shared_ptr<CorvaneSDK::CacheTable> createTable(const CorvaneSDK::Table& table) override;

  /// Lets go of the large rows, and of SQLite's pages; waits for its turn.
  void releaseMemory() override;

 private:
  explicit SQLiteCache(std::shared_ptr<SQLiteStore> store);

  const std::shared_ptr<SQLiteStore> store_;
};

}  // namespace vellora::hostkit
