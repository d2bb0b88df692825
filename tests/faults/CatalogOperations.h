#pragma once

#include <vector>

#include "tests/faults/FaultRun.h"

namespace vellora::faults {

/// Every question of a catalogue. Each constructs one, whose prefetch belongs to it, and whose deadlines come
/// when nothing else is left to happen.
[[nodiscard]] std::vector<Operation> catalogOperations();

}  // namespace vellora::faults
