#pragma once

#include <chrono>
#include <optional>

namespace vellora::hostkit {

/// For how long a server is left alone that has refused a request with a 429 or a 503.
///
/// A server that says how long it wants to be left alone, with `Retry-After`, is left alone for so long, but
/// for no longer than an hour: a mistake of its should not silence an app for days. One that doesn't is left
/// alone for a quarter of a second, and for twice as long after each further refusal in a row, up to five
/// minutes. Refusals of requests that were under way together count as one. A success ends the row.
///
/// These pauses are no longer than those of a `Catalog` between its attempts, so that they cost none to the
/// first question about one list. What else is asked meanwhile is held back as well, and a `Catalog` counts
/// that as an attempt.
///
/// Threads: one at a time.
class ServerPause {
 public:
  using Clock = std::chrono::steady_clock;
  using Seconds = std::chrono::duration<double>;

  static constexpr Seconds first{0.25};
  static constexpr Seconds longest{5 * 60};
  static constexpr Seconds longestAskedFor{60 * 60};

  /// What a request is told that is not sent.
  struct Refusal {
    int statusCode;  ///< the one that the server gave last
    Seconds left;    ///< until requests are sent again
  };

  /// Notes that a request that was sent at `sent` was answered with that status and that `Retry-After`.
  void note(int statusCode, std::optional<Seconds> retryAfter, Clock::time_point sent, Clock::time_point now);

  /// What keeps a request from being sent at `now`; absent when nothing does.
  [[nodiscard]] std::optional<Refusal> refusalAt(Clock::time_point now) const;

 private:
  [[nodiscard]] Seconds nextPause();

  int statusCode_ = 0;
  int refusalsInARow_ = 0;
  Clock::time_point lastRefusal_ = Clock::time_point::min();
  Clock::time_point until_ = Clock::time_point::min();
};

}  // namespace vellora::hostkit
