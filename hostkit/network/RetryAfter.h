#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "vellora/Platform/Values/Date.h"

namespace vellora::hostkit {

/// How long the value of a header `Retry-After` asks to wait: a whole number of seconds, or what is left at
/// `now` until a date in one of the forms of HTTP, none when that is past. Absent when it is neither.
[[nodiscard]] std::optional<std::chrono::duration<double>> retryAfter(const std::string& value, Date now);

}  // namespace vellora::hostkit
