#pragma once

#include <initializer_list>
#include <string_view>

#include "vellora/Host/LogLevel.h"
#include "vellora/Host/Logger.h"

namespace vellora {

/// What follows the beginning of a log line, part by part.
using LineParts = std::initializer_list<std::string_view>;

/// Logs `beginning` and `parts`, one behind the other, as one line. A line of up to 256 bytes takes no
/// memory; most lines of a lookup are shorter. A line without parts takes none, however long it is.
///
///     logLine(logger, LogLevel::info, "cachedName(for:)", {", keyPrefix: ", prefix});
void logLine(CorvaneSDK::Logger& logger, CorvaneSDK::LogLevel level, std::string_view beginning,
             LineParts parts);

}  // namespace vellora
