#pragma once

#include <memory>

#include "vellora/Host/Cache.h"
#include "vellora/Host/Logger.h"
#include "vellora/Host/Network.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// The three host facilities that every data service needs, all present: a `RequiredAPI` exists only once all
/// three were obtained from the `PlatformAPI`. It is the library's own value, hence not in the host's
/// namespace.
///
/// Ownership: a plain value; copies share the facilities.
///
/// Threads: not synchronised; each service has its own copy. The facilities themselves are called from
/// several threads at once.
struct VELLORA_EXPORT RequiredAPI {
  // None of them is null.
  std::shared_ptr<CorvaneSDK::Network> network;
  std::shared_ptr<CorvaneSDK::Cache> cache;
  std::shared_ptr<CorvaneSDK::Logger> logger;
};

}  // namespace vellora
