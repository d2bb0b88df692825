#pragma once

#include <memory>

#include "vellora/Host/Cache.h"
#include "vellora/Host/Logger.h"
#include "vellora/Host/Network.h"
#include "vellora/Platform/Values/Export.h"

namespace CorvaneSDK {

/// What a host hands to the library: its three facilities. `VelloraService`'s constructor asks for each once,
/// in the order in which they stand here: network, cache, logger. A host that lacks a facility returns null
/// for it. The constructor then throws, and asks for none of those that follow.
///
/// `hostkit::StandardPlatformAPI` is a ready-made one.
///
/// Ownership: the library takes a shared handle to each facility while it is constructed, and keeps no handle
/// to the `PlatformAPI` itself.
///
/// Threads: read on the thread that constructs the library.
///
/// Errors: null is all that a getter tells.
class VELLORA_EXPORT PlatformAPI {
 public:
  virtual ~PlatformAPI() = default;

  /// What the library sends its requests through. Asked for first. Null: there is none.
  [[nodiscard]] virtual std::shared_ptr<Network> network() = 0;

  /// What answers are kept in. Asked for second, when there is a network. Null: there is none. Each signed-in
  /// user needs a cache of their own, because it holds what the server told that user.
  [[nodiscard]] virtual std::shared_ptr<Cache> cache() = 0;

  /// What takes the library's log lines. Asked for last, when there are a network and a cache. Null: there is
  /// none. A host that wants no lines gives a logger that drops them.
  [[nodiscard]] virtual std::shared_ptr<Logger> logger() = 0;

 protected:
  PlatformAPI() = default;
  PlatformAPI(const PlatformAPI&) = default;
  PlatformAPI& operator=(const PlatformAPI&) = default;
};

}  // namespace CorvaneSDK
