#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "vellora/Platform/Values/Error.h"

namespace vellora::hostkit {

/// Deletes the cache at the resolved `path` with its log and what was set aside. Gives the error, or no value
/// when nothing is left of it.
///
/// A cache that anybody has open is locked, and stays whole: whoever deletes the names of a database in use
/// leaves its log to whatever takes its name. So the lock is kept until the last name is gone.
[[nodiscard]] std::optional<Error> deleteCacheFile(const std::string& path,
                                                   std::chrono::milliseconds busyTimeout);

}  // namespace vellora::hostkit
