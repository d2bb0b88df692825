#pragma once

#include "vellora/Host/Service.h"
#include "vellora/Platform/Values/Export.h"
#include "vellora/Services/ObjectPresentationServicing.h"

namespace vellora {

/// What the library is to its host: a service of the host's registry that answers the lookups. Depend on this
/// rather than on `VelloraService` where you want to put a double in its place.
///
///     class Screen {
///      public:
///       explicit Screen(std::shared_ptr<VelloraServicing> vellora);
///     };
///
/// Ownership, threads and errors: as the two interfaces say.
class VELLORA_EXPORT VelloraServicing : public CorvaneSDK::Service, public ObjectPresentationServicing {};

}  // namespace vellora
