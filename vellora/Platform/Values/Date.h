#pragma once

#include <compare>

#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// A point in time, in seconds with fractions.
///
/// Two epochs are in use: fetch time stamps count from 1970-01-01 00:00:00 UTC, dates inside JSON count from
/// 2001-01-01 00:00:00 UTC (the reference date, 978307200 seconds later).
///
///     const Date fetched = Date::since1970(1700000000);  // 2023-11-14 22:13:20 UTC
///     fetched.secondsSinceReferenceDate();               // 721692800
///     now().secondsSince(fetched) > 3600;                // more than an hour ago?
///
/// Ownership: a plain value of eight bytes.
///
/// Threads: immutable but for assignment, like a number.
///
/// Units: seconds throughout; before an epoch they are negative.
class VELLORA_EXPORT Date {
 public:
  /// From 1970-01-01 to 2001-01-01, both 00:00:00 UTC.
  static constexpr double secondsFrom1970ToReferenceDate = 978307200.0;

  /// The reference date itself: 2001-01-01 00:00:00 UTC.
  constexpr Date() = default;

  /// The point `seconds` after 2001-01-01 00:00:00 UTC: what a date in JSON says.
  [[nodiscard]] static constexpr Date sinceReferenceDate(double seconds) { return Date(seconds); }

  /// The point `seconds` after 1970-01-01 00:00:00 UTC: what a fetch time stamp says.
  [[nodiscard]] static constexpr Date since1970(double seconds) {
    return Date(seconds - secondsFrom1970ToReferenceDate);
  }

  /// Since 2001-01-01 00:00:00 UTC, as JSON holds it.
  [[nodiscard]] constexpr double secondsSinceReferenceDate() const { return seconds_; }

  /// Since 1970-01-01 00:00:00 UTC, as fetch time stamps hold it.
  [[nodiscard]] constexpr double secondsSince1970() const {
    return seconds_ + secondsFrom1970ToReferenceDate;
  }

  /// Seconds from `earlier` to this point; negative when `earlier` is later.
  [[nodiscard]] constexpr double secondsSince(Date earlier) const { return seconds_ - earlier.seconds_; }

  /// The earlier point is the lesser one.
  constexpr auto operator<=>(const Date&) const = default;  // NOLINT(modernize-use-nullptr): none is meant

 private:
  explicit constexpr Date(double secondsSinceReferenceDate) : seconds_(secondsSinceReferenceDate) {}

  double seconds_ = 0;
};

/// The present moment. The library's only source of time; it stands alone in its source file, so that a
/// program can link a clock of its own in its place.
[[nodiscard]] VELLORA_EXPORT Date now();

}  // namespace vellora
