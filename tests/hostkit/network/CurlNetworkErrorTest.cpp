#include "hostkit/network/CurlNetworkError.h"

#include <gtest/gtest.h>

#include <chrono>

#include "vellora/Platform/Values/Error.h"

namespace vellora::hostkit {
namespace {

using namespace std::chrono_literals;
using Kind = CurlNetworkError::Kind;

bool mayPass(Kind kind, int status = 0) {
  return Error(CurlNetworkError{kind, "text", status}).retryAdvice().has_value();
}

TEST(CurlNetworkErrorTest, TryingAgainMayHelpWhereTheWayToTheServerFailed) {
  for (const auto kind : {Kind::unreachable, Kind::connectionLost, Kind::timedOut, Kind::tooManyRequests}) {
    EXPECT_TRUE(mayPass(kind)) << static_cast<int>(kind);
  }
}

TEST(CurlNetworkErrorTest, TryingAgainMayHelpAfterStatusesOfABusyOrBrokenServer) {
  for (const auto status : {429, 500, 502, 503, 599})
    EXPECT_TRUE(mayPass(Kind::errorStatus, status)) << status;
  for (const auto status : {304, 400, 401, 403, 404, 408}) {
    EXPECT_FALSE(mayPass(Kind::errorStatus, status)) << status;
  }
}

TEST(CurlNetworkErrorTest, TryingAgainIsOfNoUseForAllElse) {
  for (const auto kind : {Kind::invalidAddress, Kind::invalidRequest, Kind::badToken, Kind::unprotectedToken,
                          Kind::tls, Kind::tooLarge, Kind::tooManyValues, Kind::refusedRedirect,
                          Kind::protocol, Kind::shutDown, Kind::unavailable}) {
    EXPECT_FALSE(mayPass(kind)) << static_cast<int>(kind);
  }
}

TEST(CurlNetworkErrorTest, PassesOnHowLongTheServerWantsToBeLeftAlone) {
  const Error error = CurlNetworkError{Kind::errorStatus, "503", 503, 7s};
  EXPECT_EQ(error.retryAdvice(), (RetryAdvice{7s}));
  EXPECT_EQ(Error(CurlNetworkError{Kind::errorStatus, "503", 503}).retryAdvice(), RetryAdvice());
}

}  // namespace
}  // namespace vellora::hostkit
