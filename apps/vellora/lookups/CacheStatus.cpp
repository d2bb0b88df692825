#include "apps/vellora/lookups/CacheStatus.h"

#include <cmath>
#include <string>
#include <string_view>

#include "vellora/DataServices/FetchTime.h"
#include "vellora/Platform/Values/Date.h"

namespace vellora::command {

namespace {

CacheStatus cacheStatus(CorvaneSDK::Cache& cache, std::string_view timeStampKey, double cacheTimeout) {
  const auto blob = cache.load(std::string(timeStampKey));
  const auto fetched = blob ? secondsInFetchTimeStamp(*blob) : std::nullopt;
  if (!fetched) return {};
  const double age = now().secondsSince1970() - *fetched;
  return {age, std::abs(age) <= cacheTimeout};
}

}  // namespace

CacheStatus themesStatus(CorvaneSDK::Cache& cache, double cacheTimeout) {
  return cacheStatus(cache, themesFetchTimeKey, cacheTimeout);
}

CacheStatus sObjectsStatus(CorvaneSDK::Cache& cache, double cacheTimeout) {
  return cacheStatus(cache, sObjectsFetchTimeKey, cacheTimeout);
}

}  // namespace vellora::command
