#pragma once

#include <string_view>

namespace vellora {

/// The key of the table in which `ThemeDataService` keeps the list of themes and single theme entries.
inline constexpr std::string_view themesTableKey = "OPS_ThemesCacheTable";

}  // namespace vellora
