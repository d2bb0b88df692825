#include "apps/vellora/command/Reason.h"

#include <gtest/gtest.h>

#include "hostkit/network/CurlNetworkError.h"
#include "vellora/DataServices/SObjectsDataServiceError.h"
#include "vellora/Platform/Json/DecodingError.h"

namespace vellora::command {
namespace {

using hostkit::CurlNetworkError;

/// How a data service tells of a request that failed for `reason`.
Failure failureOf(const std::string& url, const Error& reason) {
  return Failure(SObjectsDataServiceError::network().ofRequest(url, reason));
}

TEST(ReasonTest, OfANetworksErrorItIsWhatTheNetworkSays) {
  const CurlNetworkError error{CurlNetworkError::Kind::unreachable, "no way to /a"};
  EXPECT_EQ(reasonOf(failureOf("/a?q=secret", error)), "no way to /a");
}

TEST(ReasonTest, OfAnAnswerThatCannotBeReadItNamesTheRequestWithoutItsQuery) {
  const auto error = DecodingError::invalidJson(0, "no value");
  EXPECT_EQ(reasonOf(failureOf("/a?q=secret", error)),
            "the answer of the server to /a cannot be used: not valid JSON at byte 0: no value");
}

TEST(ReasonTest, OfARequestWithoutBodyAndErrorItIsWhatTheServiceSays) {
  EXPECT_EQ(reasonOf(Failure(SObjectsDataServiceError::noData().ofRequest("/a", std::nullopt))),
            SObjectsDataServiceError::noData().localizedDescription());
}

}  // namespace
}  // namespace vellora::command
