#include "vellora/DataServices/CacheInspection.h"

#include <utility>

#include "vellora/DataServices/Expiry.h"
#include "vellora/DataServices/FetchTime.h"
#include "vellora/DataServices/SObjectsCache.h"
#include "vellora/DataServices/SObjectsDataService.h"
#include "vellora/DataServices/ThemeDataService.h"
#include "vellora/DataServices/ThemesTable.h"
#include "vellora/DataServices/TimestampedTable.h"
#include "vellora/Host/CacheTable.h"
#include "vellora/Host/Query.h"
#include "vellora/Platform/Json/Json.h"

namespace vellora {

namespace {

bool isExpired(std::string_view key, Date fetched, double cacheTimeout) {
  const bool isList = key == sObjectsFetchTimeKey || key == themesFetchTimeKey;
  return isList ? isListExpired(fetched.secondsSince1970(), cacheTimeout)
                : Expiry(cacheTimeout).isPast(fetched);
}

CacheFreshness listFreshness(std::string_view fetchTimeKey, const std::optional<Data>& blob,
                             double cacheTimeout) {
  if (!blob) return {};
  return blobFreshness(fetchTimeKey, *blob, cacheTimeout).value_or(CacheFreshness());
}

/// The list in the row of that kind; empty when it is not there, or cannot be read.
template <class T>
std::vector<T> cachedList(CorvaneSDK::Cache& cache, std::string_view tableKey, std::string_view kind) {
  const auto table = CorvaneSDK::CacheTable::open(cache, std::string(tableKey));
  if (!table) return {};
  const auto rows =
      table->load(CorvaneSDK::Query::exact(CorvaneSDK::metaEquals(TimestampedTable::kindMeta(kind))));
  if (rows.empty()) return {};
  auto list = json::decode<std::vector<T>>(rows.front());
  return list ? std::move(list).value() : std::vector<T>();
}

}  // namespace

CacheFreshness sObjectsFreshness(CorvaneSDK::Cache& cache, double cacheTimeout) {
  const auto blob = cache.load(std::string(sObjectsFetchTimeKey));
  return listFreshness(sObjectsFetchTimeKey, blob, cacheTimeout);
}

CacheFreshness themesFreshness(CorvaneSDK::Cache& cache, double cacheTimeout) {
  const auto blob = cache.load(std::string(themesFetchTimeKey));
  return listFreshness(themesFetchTimeKey, blob, cacheTimeout);
}

std::vector<SObject> cachedSObjects(CorvaneSDK::Cache& cache) {
  return cachedList<SObject>(cache, SObjectsCache::tableKey,
                             rawValue(SObjectsDataService::CacheEntryType::sObjects));
}

std::vector<ThemeItem> cachedThemes(CorvaneSDK::Cache& cache) {
  return cachedList<ThemeItem>(cache, themesTableKey, ThemeDataService::Constants::listKind);
}

std::optional<CacheFreshness> blobFreshness(std::string_view key, const Data& blob, double cacheTimeout) {
  const auto fetched = fetchTime(key, blob);
  if (!fetched) return std::nullopt;
  return CacheFreshness{fetched, !isExpired(key, *fetched, cacheTimeout)};
}

std::optional<CacheFreshness> rowFreshness(
    const CorvaneSDK::Meta& meta, const std::function<std::optional<Data>(std::string_view key)>& loadBlob,
    double cacheTimeout) {
  const auto kind = meta.find(std::string(TimestampedTable::cacheEntryType));
  const auto key = kind == meta.end() ? std::nullopt : fetchTimeKeyForRowsOf(kind->second);
  if (!key) return std::nullopt;
  return listFreshness(*key, loadBlob(*key), cacheTimeout);
}

}  // namespace vellora
