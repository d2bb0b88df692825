#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "vellora/Platform/Values/Data.h"

namespace vellora::bench {

/// The number of object types that most lines of the table measure with.
inline constexpr std::size_t sampleTypes = 2'000;

/// What the demo server sends for `sampleTypes` types: describe entries of about 28 members and 1 KB each,
/// theme entries with six icons and two colours. Made once, then shared.
[[nodiscard]] const Data& sampleObjectList();
[[nodiscard]] const Data& sampleThemeList();

/// The names of the first `count` types of the object list.
[[nodiscard]] std::vector<std::string> sampleTypeNames(std::size_t count);

}  // namespace vellora::bench
