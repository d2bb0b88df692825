#include "vellora/DataServices/LayoutCache.h"

namespace vellora {

LayoutCache::LayoutCache(CorvaneSDK::Cache& cache, CorvaneSDK::Logger& logger, std::string_view keyPrefix)
    : cache_(cache), logger_(logger), key_(keyPrefix), prefixSize_(keyPrefix.size()) {}

void LayoutCache::remove(std::string_view objectType) {
  cache_.remove(keyOf(objectType));
}

const std::string& LayoutCache::keyOf(std::string_view objectType) {
  key_.resize(prefixSize_);
  return key_.append(objectType);
}

}  // namespace vellora
