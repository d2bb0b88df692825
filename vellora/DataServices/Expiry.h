#pragma once

#include "vellora/Platform/Values/Date.h"

namespace vellora {

/// Tells whether a cached layout is too old. The age is that at the moment of the question: a lookup asks
/// when it has loaded a layout, so the layouts of a slow cache are of different ages.
///
/// Threads: immutable.
///
/// Units: seconds.
class Expiry {
 public:
  explicit Expiry(double cacheTimeout) : cacheTimeout_(cacheTimeout) {}

  /// Whether a layout downloaded at that time is older than the time-out. A time in the future is not past,
  /// and with a time-out that is not a number none is.
  [[nodiscard]] bool isPast(Date downloadedTime) const;

 private:
  const double cacheTimeout_;
};

}  // namespace vellora
