#pragma once

#include <cstddef>

#include "vellora/Platform/Data.h"

namespace vellora::bench {

/// How many object types most lines of the table are about.
inline constexpr std::size_t sampleTypes = 2'000;

/// What the demo server sends for `sampleTypes` types: describe entries of about 28 members and 1 KB each,
/// theme entries with six icons and two colours. Made once, then shared.
[[nodiscard]] const Data& sampleObjectList();
[[nodiscard]] const Data& sampleThemeList();

}  // namespace vellora::bench
