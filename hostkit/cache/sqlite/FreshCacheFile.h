#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "vellora/Platform/Values/Error.h"

namespace vellora::hostkit {

/// Creates an empty cache at `path`, where nothing stands or a file without bytes, with mode 0600. The caller
/// holds the lock of the folder. Gives the error, or no value.
///
/// The file is made under another name in the same folder, and gets its own when it is complete: no crash can
/// leave half a file there. What a crash or a loss of power left under the first name is removed; what never
/// was ours is left alone, and is an error.
[[nodiscard]] std::optional<Error> createFreshCacheFile(const std::string& path,
                                                        std::chrono::milliseconds busyTimeout);

}  // namespace vellora::hostkit
