#pragma once

#include <compare>

#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// A point in time, in seconds with fractions.
///
/// Two epochs are in use: fetch time stamps count from 1970-01-01 00:00:00 UTC, dates inside JSON count from
/// 2001-01-01 00:00:00 UTC (the reference date, 978307200 seconds later).
class VELLORA_EXPORT Date {
 public:
  static constexpr double secondsFrom1970ToReferenceDate = 978307200.0;

  /// The reference date itself.
  constexpr Date() = default;

  [[nodiscard]] static constexpr Date sinceReferenceDate(double seconds) { return Date(seconds); }
  [[nodiscard]] static constexpr Date since1970(double seconds) {
    return Date(seconds - secondsFrom1970ToReferenceDate);
  }

  [[nodiscard]] constexpr double secondsSinceReferenceDate() const { return seconds_; }
  [[nodiscard]] constexpr double secondsSince1970() const {
    return seconds_ + secondsFrom1970ToReferenceDate;
  }

  /// Seconds from `earlier` to this point; negative when `earlier` is later.
  [[nodiscard]] constexpr double secondsSince(Date earlier) const { return seconds_ - earlier.seconds_; }

  constexpr auto operator<=>(const Date&) const = default;

 private:
  explicit constexpr Date(double secondsSinceReferenceDate) : seconds_(secondsSinceReferenceDate) {}

  double seconds_ = 0;
};

/// The present moment. The library's only source of time; it stands alone in its source file, so that a
/// program can link a clock of its own in its place.
[[nodiscard]] VELLORA_EXPORT Date now();

}  // namespace vellora
