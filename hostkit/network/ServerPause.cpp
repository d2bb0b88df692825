#include "hostkit/network/ServerPause.h"

#include <algorithm>
#include <cmath>

namespace vellora::hostkit {

namespace {

bool isRefusal(int statusCode) {
  constexpr int tooManyRequests = 429;
  constexpr int unavailable = 503;
  return statusCode == tooManyRequests || statusCode == unavailable;
}

bool isSuccess(int statusCode) {
  constexpr int notModified = 304;
  return statusCode / 100 == 2 || statusCode == notModified;
}

}  // namespace

void ServerPause::note(int statusCode, std::optional<Seconds> retryAfter, Clock::time_point sent,
                       Clock::time_point now) {
  if (isSuccess(statusCode)) refusalsInARow_ = 0;
  if (!isRefusal(statusCode)) return;
  const bool isOfTheSameMoment = sent <= lastRefusal_;
  if (isOfTheSameMoment && !retryAfter) return;
  const Seconds pause = retryAfter ? std::min(*retryAfter, longestAskedFor) : nextPause();
  statusCode_ = statusCode;
  lastRefusal_ = now;
  until_ = std::max(until_, now + std::chrono::ceil<Clock::duration>(pause));
}

std::optional<ServerPause::Refusal> ServerPause::refusalAt(Clock::time_point now) const {
  if (now >= until_) return std::nullopt;
  return Refusal{statusCode_, until_ - now};
}

ServerPause::Seconds ServerPause::nextPause() {
  constexpr int mostDoublings = 30;
  const int doublings = std::min(refusalsInARow_++, mostDoublings);
  return std::min(first * std::ldexp(1.0, doublings), longest);
}

}  // namespace vellora::hostkit
