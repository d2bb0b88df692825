#pragma once

#include <memory>
#include <optional>
#include <string>

#include "hostkit/StandardPlatformAPI.h"
#include "vellora/Services/VelloraService.h"

namespace vellora::bench {

/// Whether a ready-made host keeps the bodies that it may ask for again with a condition, as it does unless
/// told otherwise.
enum class Bodies { kept, notKept };

/// The ready-made host for the demo server, with its cache in `cacheFile` or in memory, and logging nothing.
/// Ends the program when it cannot be made.
[[nodiscard]] std::shared_ptr<hostkit::StandardPlatformAPI> readyHost(
    const std::string& server, const std::optional<std::string>& cacheFile, Bodies bodies = Bodies::kept);

/// The façade on `host`, and its prefetch begun.
[[nodiscard]] std::unique_ptr<VelloraService> startedService(
    const std::shared_ptr<hostkit::StandardPlatformAPI>& host);

/// Waits until the prefetch has ended, and tells whether both lists are loaded.
[[nodiscard]] bool waitUntilLoaded(const VelloraService& service);

}  // namespace vellora::bench
