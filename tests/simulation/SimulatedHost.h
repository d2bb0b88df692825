#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "tests/simulation/SimulatedCache.h"
#include "tests/simulation/World.h"
#include "vellora/Host/RequiredAPI.h"

namespace vellora::simulation {

/// The facilities that one façade, or one service on its own, is given. Those of all façades lead to the same
/// world and the same cache. Each façade has its own ones, so that their handles tell whether it is still
/// alive.
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
