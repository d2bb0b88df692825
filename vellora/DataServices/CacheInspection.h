#pragma once

// What a cache holds of the library's metadata, and how old it is: for programs that show or check a cache.
// Looking logs nothing, requests nothing and changes nothing; a table that is not there is not created.

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "vellora/Host/Cache.h"
#include "vellora/Host/Row.h"
#include "vellora/Models/SObject.h"
#include "vellora/Models/ThemeItem.h"
#include "vellora/Platform/Values/Data.h"
#include "vellora/Platform/Values/Date.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// When something that is cached was fetched, and whether it is still fresh under a time-out.
struct VELLORA_EXPORT CacheFreshness {
  std::optional<Date> fetched;  ///< absent when nothing was fetched, or the cache does not tell when
  bool fresh = false;           ///< whether it has not expired under that time-out

  friend bool operator==(const CacheFreshness&, const CacheFreshness&) = default;
};

/// How fresh the cached list of object types is, and how fresh the list of themes. Only the moment of the
/// fetch is looked at, not the list itself.
///
///     const auto types = sObjectsFreshness(cache, 3600);
///     if (types.fetched) std::cout << now().secondsSince(*types.fetched) << " s old\n";
///
/// Threads: as safe as the cache.
///
/// Errors: a moment that cannot be read is absent.
///
/// Units: the time-out is in seconds.
[[nodiscard]] VELLORA_EXPORT CacheFreshness sObjectsFreshness(CorvaneSDK::Cache& cache, double cacheTimeout);
[[nodiscard]] VELLORA_EXPORT CacheFreshness themesFreshness(CorvaneSDK::Cache& cache, double cacheTimeout);

/// The cached list of object types, however old; empty when there is none, or none that can be read.
///
/// Threads: as safe as the cache.
[[nodiscard]] VELLORA_EXPORT std::vector<SObject> cachedSObjects(CorvaneSDK::Cache& cache);

/// The cached list of theme entries, however old; empty when there is none, or none that can be read.
///
/// Threads: as safe as the cache.
[[nodiscard]] VELLORA_EXPORT std::vector<ThemeItem> cachedThemes(CorvaneSDK::Cache& cache);

/// How fresh a blob is that was read from a cache under `key`. It holds a layout, or the moment at which a
/// list was fetched. No value for a blob that no data service reads, and for one that cannot be read.
///
/// Units: the time-out is in seconds.
[[nodiscard]] VELLORA_EXPORT std::optional<CacheFreshness> blobFreshness(std::string_view key,
                                                                         const Data& blob,
                                                                         double cacheTimeout);

/// How fresh a row of a table is; `meta` is the row's. A row that belongs to a list is as fresh as the blob
/// that says when the list was fetched. `loadBlob` loads that blob from the same cache, or returns no value.
/// No value for the row of a single item, because the data services use such a row however old it is.
///
/// Units: the time-out is in seconds.
[[nodiscard]] VELLORA_EXPORT std::optional<CacheFreshness> rowFreshness(
    const CorvaneSDK::Meta& meta, const std::function<std::optional<Data>(std::string_view key)>& loadBlob,
    double cacheTimeout);

}  // namespace vellora
