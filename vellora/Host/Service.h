#pragma once

#include <concepts>
#include <memory>

#include "vellora/Host/PlatformAPI.h"
#include "vellora/Host/ServiceIdentifier.h"
#include "vellora/Platform/Values/Export.h"

namespace CorvaneSDK {

/// A service that a host's registry can hold; `VelloraService` is one. A host without a registry has no use
/// for it. The identifier belongs to the type, not to an instance; see `IdentifiedService`.
///
/// Ownership: whoever registers a service keeps it alive.
///
/// Threads: the library calls none of it; a registry calls it from whatever thread the service allows, which
/// is any for `VelloraService`.
///
/// Errors: none are told.
class VELLORA_EXPORT Service {
 public:
  virtual ~Service() = default;

  /// Tells the service of the platform that it runs on. `VelloraService` got its own when it was constructed,
  /// and ignores this one.
  virtual void configure(const std::shared_ptr<PlatformAPI>& api) = 0;

 protected:
  Service() = default;
  Service(const Service&) = default;
  Service& operator=(const Service&) = default;
};

/// A service type that names itself, callable without an instance:
///
///     registry.add(VelloraService::serviceIdentifier(), service);
template <class S>
concept IdentifiedService = std::derived_from<S, Service> && requires {
  { S::serviceIdentifier() } -> std::same_as<ServiceIdentifier>;
};

}  // namespace CorvaneSDK
