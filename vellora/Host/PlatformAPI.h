#pragma once

#include <memory>

#include "vellora/Host/Cache.h"
#include "vellora/Host/Logger.h"
#include "vellora/Host/Network.h"
#include "vellora/Platform/Values/Export.h"

namespace CorvaneSDK {

/// What a host hands to the library: its three facilities. Null means that the host grants none of that kind.
///
/// Ownership: the library takes a shared handle to each facility while it is constructed, and keeps no handle
/// to the `PlatformAPI` itself.
/// Threads: read on the thread that constructs the library.
class VELLORA_EXPORT PlatformAPI {
 public:
  virtual ~PlatformAPI() = default;

  [[nodiscard]] virtual std::shared_ptr<Network> network() = 0;
  [[nodiscard]] virtual std::shared_ptr<Cache> cache() = 0;
  [[nodiscard]] virtual std::shared_ptr<Logger> logger() = 0;

 protected:
  PlatformAPI() = default;
  PlatformAPI(const PlatformAPI&) = default;
  PlatformAPI& operator=(const PlatformAPI&) = default;
};

}  // namespace CorvaneSDK
