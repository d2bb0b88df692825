#include "vellora/Catalog/RetryOptions.h"

#include <algorithm>
#include <random>

namespace vellora {

namespace {

double randomNumber() {
  thread_local std::minstd_rand numbers{std::random_device()()};
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
