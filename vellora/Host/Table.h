#pragma once

#include <string>
#include <utility>

#include "vellora/Platform/Values/Export.h"

namespace CorvaneSDK {

/// Describes a new, empty table, for `CacheTable::create`. The library has two, "OPS_SObjectsCacheTable" and
/// "OPS_ThemesCacheTable", and creates each when `CacheTable::open` does not find it. A host reads key and
/// age in its `Cache::createTable`.
///
///     CacheTable::create(cache, Table::emptyWithKey("OPS_ThemesCacheTable", Table::MaxAge::sevenDays));
///
/// Ownership: a plain value.
///
/// Threads: immutable but for assignment, hence safe to read from several threads at once.
///
/// Errors: none. Making or copying one takes memory.
class VELLORA_EXPORT Table {
 public:
  /// How old a row may become, counted from when it was last written, before the host drops it.
  enum class MaxAge {
    sevenDays,  ///< 604,800 seconds
  };

  /// A table that `CacheTable::open` finds under `key`.
  [[nodiscard]] static Table emptyWithKey(std::string key, MaxAge maxAge) { return {std::move(key), maxAge}; }

  /// The table's name within its cache. Valid as long as this object.
  [[nodiscard]] const std::string& key() const noexcept { return key_; }

  /// Rows that are older are not returned.
  [[nodiscard]] MaxAge maxAge() const noexcept { return maxAge_; }

  friend bool operator==(const Table&, const Table&) = default;

 private:
  Table(std::string key, MaxAge maxAge) : key_(std::move(key)), maxAge_(maxAge) {}

  std::string key_;
  MaxAge maxAge_;
};

}  // namespace CorvaneSDK
