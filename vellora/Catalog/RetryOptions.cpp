#include "vellora/Catalog/RetryOptions.h"

#include <algorithm>
#include <chrono>
#include <random>

namespace vellora {

namespace {

/// Of the clock where the system has no random number, as it may when it has no file handle left.
unsigned seed() noexcept {
  try {
    return std::random_device()();
  } catch (...) {
    return static_cast<unsigned>(std::chrono::steady_clock::now().time_since_epoch().count());
  }
}

double randomNumber() {
  thread_local std::minstd_rand numbers{seed()};
  return std::uniform_real_distribution<double>()(numbers);
}

}  // namespace

std::chrono::duration<double> RetryOptions::pauseAfter(int attempt) const {
  auto pause = firstPause;
  for (int i = 1; i < attempt && pause < longestPause; ++i) pause *= 2;
  const double number = std::clamp(jitter ? jitter() : randomNumber(), 0.0, 1.0);
  return std::min(pause, longestPause) * (0.5 + number / 2);
}

}  // namespace vellora
