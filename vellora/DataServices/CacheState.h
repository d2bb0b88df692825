#pragma once

#include <string>

#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// What a data service's cache holds of the list that it fetches as a whole: the row of kind "sObjects" or
/// "themes". Rows of single items do not count.
///
/// The age of the list is told by a blob beside the table, "ops.sobject.fetch.timestamp" or
/// "ops.theme.fetch.timestamp". A list is expired when that moment is further away from now than the
/// time-out, also in the future, or when the blob is missing or too short. (The age of a layout is no such
/// distance: one that is dated in the future is fresh.)
///
/// Ownership: a plain value.
enum class CacheState {
  empty,    ///< no list, whatever single items there are
  expired,  ///< a list whose fetch is further away from now than the time-out, or at an unknown time
  valid,    ///< a list to be used as it is
};

/// The case's name, as log lines show it: "empty", "expired" or "valid".
[[nodiscard]] VELLORA_EXPORT std::string describe(CacheState state);

}  // namespace vellora
