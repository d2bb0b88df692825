#pragma once

#include "tests/faults/FaultRun.h"

namespace vellora::faults {

/// "list on condition": the list of types, as the ready-made network fetches it that keeps bodies in the
/// host's cache: only if it has changed. Here on one thread.
[[nodiscard]] Operation conditionalOperation();

}  // namespace vellora::faults
