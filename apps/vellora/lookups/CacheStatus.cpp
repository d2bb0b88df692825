#include "apps/vellora/lookups/CacheStatus.h"

#include "vellora/DataServices/CacheInspection.h"
#include "vellora/Platform/Values/Date.h"

namespace vellora::command {

namespace {

CacheStatus statusOf(const CacheFreshness& freshness) {
  if (!freshness.fetched) return {};
  return {now().secondsSince(*freshness.fetched), freshness.fresh};
}

}  // namespace

CacheStatus themesStatus(CorvaneSDK::Cache& cache, double cacheTimeout) {
  return statusOf(themesFreshness(cache, cacheTimeout));
}

CacheStatus sObjectsStatus(CorvaneSDK::Cache& cache, double cacheTimeout) {
  return statusOf(sObjectsFreshness(cache, cacheTimeout));
}

}  // namespace vellora::command
