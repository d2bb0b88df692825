#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "vellora/DataServices/NamedList.h"
#include "vellora/DataServices/TimestampedTable.h"
#include "vellora/Host/Cache.h"
#include "vellora/Host/Logger.h"
#include "vellora/Models/SObject.h"
#include "vellora/Platform/Values/Remembered.h"

namespace vellora {

/// What `SObjectsDataService` keeps in the host's cache: the rows of its table, and when the object list was
/// fetched. Each read and write logs itself under its own name.
///
/// Beside the list there are rows for what single lookups found, so that the next lookup need not decode a
/// list of thousands. These rows do not decide whether the cache is fresh, and are served however old they
/// are. A lookup that finds no such row reads the list; the list and its key prefixes are kept in decoded
/// form until the host's table gives other bytes.
///
/// Ownership: part of the service.
///
/// Threads and errors: as `TimestampedTable` says.
class SObjectsCache {
 public:
  static constexpr std::string_view tableKey = "OPS_SObjectsCacheTable";

  using NamesByKeyPrefix = std::map<std::string, std::string>;

  SObjectsCache(std::shared_ptr<CorvaneSDK::Cache> cache, std::shared_ptr<CorvaneSDK::Logger> logger,
                double cacheTimeout);

  [[nodiscard]] CacheState cacheState() const { return table_.cacheState(); }
  [[nodiscard]] ListState listState() const { return table_.listState(); }

  /// The row "sObjects"; null when absent.
  [[nodiscard]] std::shared_ptr<const NamedList<SObject>> cachedSObjects() const;
  /// The row "sObject" of that name; absent for an absent name.
  [[nodiscard]] std::optional<SObject> cachedSObject(const std::optional<std::string>& name) const;
  /// The row "keyPrefixes", object API names by key prefix; null when absent.
  [[nodiscard]] std::shared_ptr<const NamesByKeyPrefix> cachedKeyPrefixes() const;
  /// The row "keyPrefix": the object API name of that prefix.
  [[nodiscard]] std::optional<std::string> cachedName(const std::string& keyPrefix) const;
  /// The row "listView": the type that the list view lists. Where the server gave no type the row holds null,
  /// which fails to decode and counts as absent: the server is asked again, and may know by then.
  [[nodiscard]] std::optional<std::string> cachedListViewType(const std::string& id) const;

  /// The fetched list, its key prefixes, and the time of the fetch. The only write that makes the cache
  /// fresh.
  void save(const std::vector<SObject>& sObjects) const;
  void save(const SObject& sObject) const;
  void saveKeyPrefix(const std::string& keyPrefix, const std::string& name) const;
  void save(const std::optional<std::string>& listViewType, const std::string& id) const;

  /// Leaves the 100 newest rows of each kind that single lookups write.
  void enforceCacheCount() const;

  /// Purges the rows that single lookups took from the list.
  void dropSingles() const;
  /// How often rows were purged: see `TimestampedTable::drops`.
  [[nodiscard]] std::uint64_t drops() const noexcept { return table_.drops(); }
  /// Purges the rows of list views.
  void dropListViews() const;

  /// Purges and removes everything, and what is kept of it in decoded form.
  void forget() const;

  /// Lets go of what is kept in decoded form.
  void releaseMemory() const;

 private:
  void saveKeyPrefixes(const std::vector<SObject>& sObjects) const;

  // Constant after construction.
  const TimestampedTable table_;

  // Synchronise themselves.
  const Remembered<NamedList<SObject>> list_;
  const Remembered<NamesByKeyPrefix> keyPrefixes_;
};

}  // namespace vellora
