#include "apps/vellora/command/IsoTime.h"

#include <array>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace vellora::command {

std::string isoTime(Date date) {
  const double seconds = std::floor(date.secondsSince1970());
  constexpr double latest = 253402300799;  // the end of the year 9999
  if (!(seconds >= 0 && seconds <= latest)) return std::to_string(date.secondsSince1970());
  // A `std::time_t` may have 32 bits, which end in 2038.
  const std::chrono::sys_seconds moment(std::chrono::seconds(static_cast<std::int64_t>(seconds)));
  const auto midnight = std::chrono::floor<std::chrono::days>(moment);
  const std::chrono::year_month_day day(midnight);
  const std::chrono::hh_mm_ss time(moment - midnight);
  std::array<char, 64> text{};
  const int length =
      std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(day.year()),
                    static_cast<unsigned>(day.month()), static_cast<unsigned>(day.day()),
                    static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                    static_cast<int>(time.seconds().count()));
  return {text.data(), static_cast<std::size_t>(length)};
}

}  // namespace vellora::command
