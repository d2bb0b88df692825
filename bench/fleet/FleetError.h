#pragma once

#include <string>

namespace vellora::fleet {

/// Why a run could not begin or be written down: one sentence for the person who started it.
struct FleetError {
  std::string message;

  [[nodiscard]] std::string localizedDescription() const { return message; }
};

}  // namespace vellora::fleet
