#include "vellora/DataServices/LayoutCache.h"

#include <new>

namespace vellora {

LayoutCache::LayoutCache(CorvaneSDK::Cache& cache, CorvaneSDK::Logger& logger, std::string_view keyPrefix)
    : cache_(cache), logger_(logger), key_(keyPrefix), prefixSize_(keyPrefix.size()) {}

bool LayoutCache::remove(std::string_view objectType) {
  return cache_.remove(keyOf(objectType));
}

std::vector<std::string> LayoutCache::removeAll(const std::vector<std::string>& objectTypes) {
  std::vector<std::string> left;
  bool isComplete = true;
  for (const auto& type : objectTypes) {
    try {
      if (!remove(type)) left.push_back(type);
    } catch (const std::bad_alloc&) {
      isComplete = false;
    }
  }
  if (!isComplete) throw std::bad_alloc();
  return left;
}

const std::string& LayoutCache::keyOf(std::string_view objectType) {
  key_.resize(prefixSize_);
  return key_.append(objectType);
}

}  // namespace vellora
