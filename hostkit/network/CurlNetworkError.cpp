#include "hostkit/network/CurlNetworkError.h"

namespace vellora::hostkit {

std::optional<RetryAdvice> CurlNetworkError::retryAdvice() const {
  constexpr int tooMany = 429;
  switch (kind) {
    case Kind::unreachable:
    case Kind::connectionLost:
    case Kind::timedOut:
    case Kind::tooManyRequests:
      return RetryAdvice{};
    case Kind::errorStatus:
      if (statusCode != tooMany && statusCode / 100 != 5) return std::nullopt;
      return RetryAdvice{retryAfter};
    default:
      return std::nullopt;
  }
}

}  // namespace vellora::hostkit
