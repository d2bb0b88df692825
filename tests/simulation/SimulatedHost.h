#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "tests/simulation/SimulatedCache.h"
#include "tests/simulation/World.h"
#include "vellora/Host/RequiredAPI.h"

namespace vellora::simulation {

/// The facilities that one façade, or one service of its own, is given: all lead to the same world and the
/// same cache, but by who holds them it can be told whether anything of that façade is still alive.
class SimulatedHost {
 public:
  using OnLog = std::function<void(std::string_view message)>;

  /// `onLog` is told of each line. World, cache and what `onLog` refers to outlive the facilities.
  SimulatedHost(World& world, SimulatedCache& cache, OnLog onLog);

  [[nodiscard]] const RequiredAPI& api() const { return api_; }

  /// Whether anybody else still holds one of the facilities.
  [[nodiscard]] bool isInUse() const;

 private:
  RequiredAPI api_;
};

}  // namespace vellora::simulation
