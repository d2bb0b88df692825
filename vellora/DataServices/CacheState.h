#pragma once

#include <string>

#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// What a data service's cache holds of the list that it fetches as a whole.
enum class CacheState {
  empty,    ///< no list, whatever single items there are
  expired,  ///< a list that was fetched longer ago than the time-out, or nobody knows when
  valid,    ///< a list to be used as it is
};

/// The case's name: "empty", "expired" or "valid".
[[nodiscard]] VELLORA_EXPORT std::string describe(CacheState state);

}  // namespace vellora
