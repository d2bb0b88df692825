#include "bench/fleet/Figure.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdio>

namespace vellora::fleet {

namespace {

constexpr std::array<const char*, 5> units{"", " k", " M", " G", " T"};

/// 999.6 is written as 1 k: what counts is the number once it is rounded.
double toThreeDigits(double value) {
  if (value <= 0) return 0;
  const double exponent = std::floor(std::log10(value)) - 2;
  // Powers of ten that are no fractions: with a tenth, 1,000 comes out below itself where an x87 divides.
  const double power = std::pow(10, std::abs(exponent));
  return exponent < 0 ? std::round(value * power) / power : std::round(value / power) * power;
}

}  // namespace

std::string figure(double value) {
  double rest = toThreeDigits(value);
  std::size_t unit = 0;
  for (; rest >= 1000 && unit + 1 < units.size(); ++unit) rest /= 1000;
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%.3g%s", rest, units.at(unit));
  return text.data();
}

}  // namespace vellora::fleet
