#pragma once

#include <chrono>
#include <optional>

#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// That what failed may succeed when it is tried again, and when. An error that can say so has a member:
///
///     std::optional<RetryAdvice> retryAdvice() const;  // absent: trying again is of no use
///
/// A network gives it for what passes by itself: no connection, no answer in time, a server that is down or
/// has too much to do. Not for what stays, such as a refused token.
///
/// Ownership: a plain value.
///
/// Units: seconds, as `std::chrono` spells them.
struct VELLORA_EXPORT RetryAdvice {
  /// How long the server wants to be left alone, as the header `Retry-After` tells; absent when it does not.
  std::optional<std::chrono::duration<double>> after = {};

  friend bool operator==(const RetryAdvice&, const RetryAdvice&) = default;
};

}  // namespace vellora
