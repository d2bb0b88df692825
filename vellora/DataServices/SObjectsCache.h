#pragma once

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
/// Beside the list there are rows for what single lookups found, so that the next one needs not decode a list
/// of thousands. They never decide whether the cache is fresh, and are served however old they are. For the
/// lookups that find no such row yet, the list and its key prefixes are remembered in their decoded form for
/// as long as the host's table gives the same bytes.
///
/// Ownership: part of the service. Threads and errors: as `TimestampedTable` says.
class SObjectsCache {
 public:
  static constexpr std::string_view tableKey = "OPS_SObjectsCacheTable";

  using NamesByKeyPrefix = std::map<std::string, std::string>;

  SObjectsCache(std::shared_ptr<CorvaneSDK::Cache> cache, std::shared_ptr<CorvaneSDK::Logger> logger,
                double cacheTimeout);

  [[nodiscard]] CacheState cacheState() const { return table_.cacheState(); }

  /// Null when absent, as the next but one.
  [[nodiscard]] std::shared_ptr<const NamedList<SObject>> cachedSObjects() const;
  /// An absent name is no object type's.
  [[nodiscard]] std::optional<SObject> cachedSObject(const std::optional<std::string>& name) const;
  /// Object API names by key prefix.
  [[nodiscard]] std::shared_ptr<const NamesByKeyPrefix> cachedKeyPrefixes() const;
  [[nodiscard]] std::optional<std::string> cachedName(const std::string& keyPrefix) const;
  /// What the list view lists. Absent also where the server gave no type: such a row is written as null,
  /// fails to decode, and so has the server asked again, which may know by then.
  [[nodiscard]] std::optional<std::string> cachedListViewType(const std::string& id) const;

  /// The fetched list, its key prefixes, and the time of the fetch. The only write that makes the cache
  /// fresh.
  void save(const std::vector<SObject>& sObjects) const;
  void save(const SObject& sObject) const;
  void saveKeyPrefix(const std::string& keyPrefix, const std::string& name) const;
  void save(const std::optional<std::string>& listViewType, const std::string& id) const;

  /// Bounds the rows of single lookups.
  void enforceCacheCount() const;

 private:
  void saveKeyPrefixes(const std::vector<SObject>& sObjects) const;

  // Constant after construction.
  const TimestampedTable table_;

  // Synchronise themselves.
  const Remembered<NamedList<SObject>> list_;
  const Remembered<NamesByKeyPrefix> keyPrefixes_;
};

}  // namespace vellora
