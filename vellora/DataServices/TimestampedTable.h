#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "vellora/DataServices/CacheState.h"
#include "vellora/DataServices/ListState.h"
#include "vellora/DataServices/LogLine.h"
#include "vellora/Host/Cache.h"
#include "vellora/Host/CacheTable.h"
#include "vellora/Host/Logger.h"
#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Values/Remembered.h"

namespace vellora {

/// What the two services that keep a fetched list in a host table have in common: the table, the blob that
/// says when the list was fetched, the freshness rule, and how a row is read, written and purged. What
/// differs stays with the two: which kinds of rows there are, which writes set the time stamp, which kinds
/// are purged.
///
/// Every row's meta names its kind under "cacheEntryType"; the row of `Names::listKind` is the list. Only
/// that row and the time stamp decide the state: single items are served however old they are, because the
/// list they came from is what a service refreshes.
///
/// No failure is passed on. A row that cannot be read counts as absent, so that the caller goes on to the
/// next source. The row stays: the next write replaces it, or the host's age limit or the purge removes it.
///
/// Ownership: shares the host's cache, table and logger; knows nothing of the service that owns it.
///
/// Threads: constant after construction, hence as safe as the host's objects. The table is called on the
/// caller's thread.
///
/// Errors: logged, as the operation's signature followed by ": Failed to decode: " or ": Failed to encode: ".
///
/// Units: seconds.
class TimestampedTable {
 public:
  /// The meta key that every row has.
  static constexpr std::string_view cacheEntryType = "cacheEntryType";

  /// How many rows of one kind a purge leaves.
  static constexpr std::size_t maxCount = 100;

  /// What tells one service's storage from another's.
  struct Names {
    std::string tableKey;
    std::string timeStampKey;  ///< of the blob
    std::string listKind;
  };

  /// Opens the table, or creates it with a maximum age of seven days. Reads and writes nothing else.
  TimestampedTable(std::shared_ptr<CorvaneSDK::Cache> cache, std::shared_ptr<CorvaneSDK::Logger> logger,
                   double cacheTimeout, Names names);

  /// Reads the cache afresh each time.
  [[nodiscard]] CacheState cacheState() const { return listState().state; }

  /// The same, with the moment of the fetch. The same reads.
  [[nodiscard]] ListState listState() const;

  /// Says that the list was fetched now.
  void saveFetchTimeStamp() const;

  /// The first row whose meta holds all pairs of `meta`. Logs `operation` followed by `found` when there is
  /// such a row, before it is decoded.
  template <class T>
  [[nodiscard]] std::optional<T> read(CorvaneSDK::Meta meta, std::string_view operation,
                                      LineParts found = {}) const {
    return readWith(json::decode<T>, std::move(meta), operation, found);
  }

  /// The same for a large row. The row is read, and `operation` logged, each time; but `decode` (from
  /// `const Data&` to `Result<T>`) is called only for other bytes than the last time. Null when absent.
  template <class T, class Decode>
  [[nodiscard]] std::shared_ptr<const T> read(const Remembered<T>& remembered, Decode decode,
                                              CorvaneSDK::Meta meta, std::string_view operation) const {
    const auto decodeOnce = [&](const Data& row) { return remembered.madeOf(row, decode); };
    return readWith(decodeOnce, std::move(meta), operation, {}).value_or(nullptr);
  }

  /// Writes `value` as a row, logs `operation` followed by `written`, and returns true; false when `value`
  /// has no JSON form. What the host makes of the row is not looked at.
  template <class T>
  bool write(const T& value, CorvaneSDK::Meta meta, std::string_view operation,
             LineParts written = {}) const {
    auto data = json::encode(value);
    if (!data) {
      logError(operation, ": Failed to encode: ", data.error());
      return false;
    }
    cacheTable_->upsert({std::move(data).value(), std::move(meta), std::nullopt});
    log(operation, written);
    return true;
  }

  /// Purges the oldest rows of `kind` until the `maxCount` newest are left. Hosts may keep rows of equal meta
  /// side by side, and lookups add rows without end: this is what bounds them.
  void enforceCacheCount(std::string_view kind) const;

  /// Purges the rows of `kind`.
  void drop(std::string_view kind) const;

  /// How often `drop` was called. Who writes a row that it took from a list looks before it reads the list
  /// and after it has written: with another number between, the row may be older than the list.
  [[nodiscard]] std::uint64_t drops() const noexcept { return drops_; }

  /// Purges every row, whatever its kind, and removes the moment of the fetch.
  void forget() const;

  /// The meta that all rows of `kind` have.
  [[nodiscard]] static CorvaneSDK::Meta kindMeta(std::string_view kind);

  /// The meta of a single item, which has an identifying pair besides.
  [[nodiscard]] static CorvaneSDK::Meta itemMeta(std::string_view kind, std::string_view key,
                                                 const std::string& value);

 private:
  template <class Decode>
  [[nodiscard]] auto readWith(Decode decode, CorvaneSDK::Meta meta, std::string_view operation,
                              LineParts found) const {
    using T = typename std::invoke_result_t<Decode, const Data&>::Value;
    const auto rows = cacheTable_->load(CorvaneSDK::Query::exact(CorvaneSDK::metaEquals(std::move(meta))));
    if (rows.empty()) return std::optional<T>();
    log(operation, found);
    auto value = decode(rows.front());
    if (value) return std::optional<T>(std::move(value).value());
    logError(operation, ": Failed to decode: ", value.error());
    return std::optional<T>();
  }

  [[nodiscard]] bool isCacheEmpty() const;
  void log(std::string_view operation, LineParts detail) const;
  void logError(std::string_view operation, std::string_view failure, const Error& error) const;

  // Constant after construction.
  const std::shared_ptr<CorvaneSDK::Cache> cache_;
  const std::shared_ptr<CorvaneSDK::Logger> logger_;
  const double cacheTimeout_;
  const Names names_;
  const std::shared_ptr<CorvaneSDK::CacheTable> cacheTable_;

  mutable std::atomic<std::uint64_t> drops_ = 0;
};

}  // namespace vellora
