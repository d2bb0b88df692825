#pragma once

#include <optional>
#include <tuple>

#include "vellora/Host/Cache.h"
#include "vellora/Platform/Json/Json.h"

namespace vellora::command {

/// One of the two caches that loading fills.
struct CacheStatus {
  std::optional<double> ageSeconds;  ///< absent when it was never filled
  bool fresh = false;

  static constexpr auto fields() {
    return std::tuple(json::field("ageSeconds", &CacheStatus::ageSeconds),
                      json::field("fresh", &CacheStatus::fresh));
  }
};

/// Of the themes and of the object types; `cacheTimeout` is in seconds.
[[nodiscard]] CacheStatus themesStatus(CorvaneSDK::Cache& cache, double cacheTimeout);
[[nodiscard]] CacheStatus sObjectsStatus(CorvaneSDK::Cache& cache, double cacheTimeout);

}  // namespace vellora::command
