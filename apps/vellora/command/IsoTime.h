#pragma once

#include <string>

#include "vellora/Platform/Values/Date.h"

namespace vellora::command {

/// A moment in UTC, such as "2026-11-21T09:30:00Z"; beyond the years 1970 to 9999 the seconds since 1970.
[[nodiscard]] std::string isoTime(Date date);

}  // namespace vellora::command
