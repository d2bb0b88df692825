#pragma once

#include <string_view>

#include "vellora/Services/VelloraService.h"

namespace vellora::command {

/// The state's name without its error: "isLoading", "loaded", "failed".
[[nodiscard]] constexpr std::string_view nameOf(VelloraService::State::Case stateCase) {
  using Case = VelloraService::State::Case;
  switch (stateCase) {
    case Case::isLoading:
      return "isLoading";
    case Case::loaded:
      return "loaded";
    case Case::failed:
      return "failed";
  }
  return "unknown";
}

}  // namespace vellora::command
