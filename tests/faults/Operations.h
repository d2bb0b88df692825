#pragma once

#include <vector>

#include "tests/faults/FaultRun.h"

namespace vellora::faults {

/// Every lookup and load of the façade and the four data services, every question of a catalogue, and a
/// request of the ready-made network that keeps bodies. Those
/// of the façade construct it; only `prefetch` and `ids` run its prefetch.
[[nodiscard]] const std::vector<Operation>& operations();

/// The one of that name; aborts when there is none.
[[nodiscard]] const Operation& operationNamed(const std::string& name);

}  // namespace vellora::faults
