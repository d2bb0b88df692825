#pragma once

#include <optional>
#include <string>

#include "vellora/Host/Cache.h"

namespace vellora::command {

/// That the server has no theme of that name, and which it has, as its cached list of themes tells; no value
/// when it has that theme, or when the list is not there or names none.
[[nodiscard]] std::optional<std::string> themeNote(const std::string& theme, CorvaneSDK::Cache& cache);

}  // namespace vellora::command
