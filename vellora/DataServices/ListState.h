#pragma once

#include <optional>

#include "vellora/DataServices/CacheState.h"
#include "vellora/Platform/Values/Date.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// Whether a list is cached and fresh, and since when.
///
/// Ownership: a plain value.
struct VELLORA_EXPORT ListState {
  CacheState state = CacheState::empty;
  std::optional<Date> fetched;  ///< absent for an empty cache, and for one that does not tell

  friend bool operator==(const ListState&, const ListState&) = default;
};

}  // namespace vellora
