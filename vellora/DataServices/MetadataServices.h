#pragma once

#include <memory>

#include "vellora/DataServices/CompactLayoutDataService.h"
#include "vellora/DataServices/LayoutDataService.h"
#include "vellora/DataServices/SObjectsDataService.h"
#include "vellora/DataServices/ThemeDataService.h"
#include "vellora/Host/RequiredAPI.h"

namespace vellora {

/// The four data services on one host and one cache: copies share what they remember, and their one purge at
/// the end.
///
/// Ownership: copies share the services.
///
/// Threads: constant after construction.
struct MetadataServices {
  MetadataServices(const RequiredAPI& api, double cacheTimeout)
      : themes(std::make_shared<ThemeDataService>(api, cacheTimeout)),
        sObjects(std::make_shared<SObjectsDataService>(api, cacheTimeout)),
        layouts(std::make_shared<LayoutDataService>(api, cacheTimeout)),
        compactLayouts(std::make_shared<CompactLayoutDataService>(api, cacheTimeout)),
        cache(api.cache) {}

  /// Lets go of what services, host's cache and threads only remember, as `Catalog::releaseMemory` says.
  void releaseMemory() const;

  const std::shared_ptr<ThemeDataService> themes;
  const std::shared_ptr<SObjectsDataService> sObjects;
  const std::shared_ptr<LayoutDataService> layouts;
  const std::shared_ptr<CompactLayoutDataService> compactLayouts;
  const std::shared_ptr<CorvaneSDK::Cache> cache;  // that all four use
};

}  // namespace vellora
