#include "vellora/DataServices/LayoutCache.h"

#include <new>

namespace vellora {

LayoutCache::LayoutCache(CorvaneSDK::Cache& cache, CorvaneSDK::Logger& logger, std::string_view keyPrefix)
    : cache_(cache), logger_(logger), key_(keyPrefix), prefixSize_(keyPrefix.size()) {}

void LayoutCache::remove(std::string_view objectType) {
  cache_.remove(keyOf(objectType));
}

void LayoutCache::removeAll(const std::vector<std::string>& objectTypes) {
  bool isComplete = true;
  for (const auto& type : objectTypes) {
    try {
      remove(type);
    } catch (const std::bad_alloc&) {
      isComplete = false;
    }
  }
  if (!isComplete) throw std::bad_alloc();
}

const std::string& LayoutCache::keyOf(std::string_view objectType) {
  key_.resize(prefixSize_);
  return key_.append(objectType);
}

}  // namespace vellora
