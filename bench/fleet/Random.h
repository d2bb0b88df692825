#pragma once

#include <cstdint>
#include <random>

namespace vellora::fleet {

/// The chance of one run: the same numbers for the same seed, whatever the standard library.
///
/// Ownership: a plain value.
///
/// Threads: one at a time.
class Random {
 public:
  explicit Random(std::uint64_t seed) : engine_(seed) {}

  /// Any number from 0 up to, but not including, 1.
  [[nodiscard]] double share() { return static_cast<double>(engine_() >> 11U) * 0x1.0p-53; }

  /// Any number between the two.
  [[nodiscard]] double between(double least, double most) { return least + (most - least) * share(); }

  /// The time until something happens that happens every `mean` on average, at any moment as likely as at
  /// any other.
  [[nodiscard]] double wait(double mean);

 private:
  std::mt19937_64 engine_;
};

}  // namespace vellora::fleet
