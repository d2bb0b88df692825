#pragma once

#include <chrono>
#include <functional>

#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// How often a request that has failed is sent again, and how long it waits for that: 0.5 s, 1 s, 2 s, …,
/// shortened at random by up to a half, so that many apps don't come back at once.
///
/// Sent again is only what may succeed then, as the error of the host's network says (`RetryAdvice`): no
/// connection, no answer in time, a server that is down or has too much to do. A server that says how long it
/// wants to be left alone is left alone for so long, and the pause comes after that. What would be sent
/// behind the question's deadline is not waited for: the question fails at once, and says why. Questions that
/// share a request share its attempts, and the deadline of the one that asked first counts.
///
///     Catalog catalog(host, {.retry = {.attempts = 1}});  // nothing is sent again
///
/// Ownership: a plain value; owns its function.
struct VELLORA_EXPORT RetryOptions {
  /// What more attempts than this count as: each holds on to the ones before it until the last has ended.
  static constexpr int mostAttempts = 100;

  /// How often one request is sent at most, the first time included.
  int attempts = 4;

  /// The pause behind the first attempt. Each later one is twice as long.
  std::chrono::duration<double> firstPause = std::chrono::milliseconds(500);

  /// What no pause is longer than.
  std::chrono::duration<double> longestPause = std::chrono::seconds(8);

  /// Gives numbers from 0 to 1, of which 1 shortens no pause and 0 each by a half; null for random ones. It
  /// is called from several threads at once.
  std::function<double()> jitter = {};

  /// How long to wait behind the attempt of that number.
  [[nodiscard]] std::chrono::duration<double> pauseAfter(int attempt) const;
};

}  // namespace vellora
