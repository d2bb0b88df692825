#pragma once

#include <optional>

#include "vellora/Platform/Values/Date.h"

namespace vellora {

/// Tells which of a lookup's cached layouts are too old. It compares all of them with one moment, the one at
/// which it was asked about the first.
///
/// Threads: for one thread; a lookup makes its own.
///
/// Units: seconds.
class Expiry {
 public:
  explicit Expiry(double cacheTimeout) : cacheTimeout_(cacheTimeout) {}

  /// Whether a layout downloaded at that time is older than the time-out. A time in the future is not past,
  /// and with a time-out that is not a number none is.
  [[nodiscard]] bool isPast(Date downloadedTime);

 private:
  const double cacheTimeout_;
  std::optional<Date> now_;
};

}  // namespace vellora
