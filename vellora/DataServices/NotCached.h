#pragma once

#include <string>

#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// Why a key was not looked up where only the cache was to be asked, or where the cache does not keep what it
/// was given.
struct VELLORA_EXPORT NotCached {
  [[nodiscard]] std::string localizedDescription() const { return "It is not in the cache."; }
};

}  // namespace vellora
