#pragma once

#include <chrono>
#include <functional>

#include "vellora/Platform/Values/Export.h"

namespace vellora::hostkit {

/// `timeout`, made longer or shorter at random by up to `share` of it: so apps that were started together, or
/// whose server came back for all of them, don't fetch their lists together ever after.
///
///     CatalogOptions options;
///     options.cacheTimeout = hostkit::spreadTimeout(24h);
///
/// The library takes a time-out as it is; an app that wants the exact one leaves this out. A `share` that is
/// not from 0 to 1 counts as the nearest that is.
///
/// Units: seconds, as `std::chrono` spells them.
///
/// Threads: any, at once, if `chance` may be called so. That gives numbers from 0 to 1, of which 0 gives the
/// shortest time-out and 1 the longest; null for random ones.
[[nodiscard]] VELLORA_EXPORT std::chrono::duration<double> spreadTimeout(
    std::chrono::duration<double> timeout, double share = 0.1, const std::function<double()>& chance = {});

}  // namespace vellora::hostkit
