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
/// Ownership: a plain value; copies share the facilities. It cannot be assigned to: what it was made of
/// stays.
///
/// Threads: immutable. The facilities themselves are called from several threads at once.
///
/// Errors: making one of a null facility throws `std::invalid_argument`, since that is a mistake in the
/// program. `VelloraService` looks before, and throws `VelloraServiceError::requiredAPI`.
struct VELLORA_EXPORT RequiredAPI {
  /// Keeps the facilities, none of which may be null.
  RequiredAPI(std::shared_ptr<CorvaneSDK::Network> hostNetwork, std::shared_ptr<CorvaneSDK::Cache> hostCache,
              std::shared_ptr<CorvaneSDK::Logger> hostLogger);

  // None of them is null.
  const std::shared_ptr<CorvaneSDK::Network> network;
  const std::shared_ptr<CorvaneSDK::Cache> cache;
  const std::shared_ptr<CorvaneSDK::Logger> logger;
};

}  // namespace vellora
