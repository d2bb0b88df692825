#pragma once

#include <memory>
#include <string>

#include "apps/records-server/RecordsServer.h"

namespace vellora::bench {

/// The demo server with the samples' types, started at the first call and shared from then on. Ends the
/// program when it cannot be started.
[[nodiscard]] recordsserver::RecordsServer& demoServer();

/// The same, which packs its bodies for who accepts them so, as servers do that are reached from afar.
[[nodiscard]] recordsserver::RecordsServer& packingServer();

}  // namespace vellora::bench
