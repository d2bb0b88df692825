#pragma once

#include <string_view>

#include "vellora/Catalog/Readiness.h"

namespace vellora::command {

/// How documents of the command spell it: "isLoading", "loaded", "failed".
[[nodiscard]] constexpr std::string_view nameOf(Readiness::Case readiness) {
  switch (readiness) {
    case Readiness::Case::loading:
      return "isLoading";
    case Readiness::Case::ready:
      return "loaded";
    case Readiness::Case::failed:
      return "failed";
  }
  return "unknown";
}

}  // namespace vellora::command
