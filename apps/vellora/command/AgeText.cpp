#include "apps/vellora/command/AgeText.h"

#include <cmath>
#include <utility>

namespace vellora::command {

std::string ageWords(std::optional<double> seconds) {
  if (!seconds || !std::isfinite(*seconds) || *seconds < 0) return "of unknown age";
  constexpr std::pair<double, const char*> units[] = {
      {86400, "day"}, {3600, "hour"}, {60, "minute"}, {1, "second"}};
  for (const auto& [length, unit] : units) {
    const auto count = std::llround(std::floor(*seconds / length));
    if (count > 0) return std::to_string(count) + " " + unit + (count == 1 ? "" : "s") + " old";
  }
  return "less than a second old";
}

}  // namespace vellora::command
