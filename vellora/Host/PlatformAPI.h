#pragma once

#include <memory>

#include "vellora/Host/Cache.h"
#include "vellora/Host/Logger.h"
#include "vellora/Host/Network.h"
#include "vellora/Platform/Values/Export.h"

namespace CorvaneSDK {

/// What a host hands to the library: its three facilities. A host that lacks a facility returns null for it;
/// `VelloraService`'s constructor then throws.
///
/// `hostkit::StandardPlatformAPI` is a ready-made one.
///
/// Ownership: the library takes a shared handle to each facility while it is constructed, and keeps no handle
/// to the `PlatformAPI` itself.
///
/// Threads: read on the thread that constructs the library.
class VELLORA_EXPORT PlatformAPI {
 public:
  virtual ~PlatformAPI() = default;

  /// What the library sends its requests through.
  [[nodiscard]] virtual std::shared_ptr<Network> network() = 0;

  /// What answers are kept in. Each signed-in user needs a cache of their own, because it holds what the
  /// server told that user.
  [[nodiscard]] virtual std::shared_ptr<Cache> cache() = 0;

  /// What takes the library's log lines.
  [[nodiscard]] virtual std::shared_ptr<Logger> logger() = 0;

 protected:
  PlatformAPI() = default;
  PlatformAPI(const PlatformAPI&) = default;
  PlatformAPI& operator=(const PlatformAPI&) = default;
};

}  // namespace CorvaneSDK
