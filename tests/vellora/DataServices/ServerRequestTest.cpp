#include "vellora/DataServices/ServerRequest.h"

#include <gtest/gtest.h>

namespace vellora {
namespace {

TEST(ServerRequestTest, IsAPlainGetWithATimeoutOfAMinute) {
  const auto request = serverRequest("/services/data/v50.0/theme");
  ASSERT_TRUE(request);
  EXPECT_EQ(request->base().url.absoluteString(), "/services/data/v50.0/theme");
  EXPECT_EQ(request->base().httpMethod, "GET");
  EXPECT_EQ(request->base().timeoutInterval, 60.0);
  EXPECT_EQ(request->base().cachePolicy, URLRequestCachePolicy::useProtocolCachePolicy);
  EXPECT_TRUE(request->base().headers.empty());
  EXPECT_EQ(request->base().body, std::nullopt);
}

TEST(ServerRequestTest, TheQueryTextStaysOneItem) {
  const auto request = serverRequest("/services/data/v50.0/query", "a&q=b#c?d=e");
  ASSERT_TRUE(request);
  EXPECT_EQ(request->base().url.absoluteString(), "/services/data/v50.0/query?q=a%26q%3Db%23c?d%3De");
}

TEST(ServerRequestTest, APathThatIsNoUrlGivesNoRequest) {
  EXPECT_EQ(serverRequest("/services/data /theme"), std::nullopt);
  EXPECT_EQ(serverRequest("http://[", "x"), std::nullopt);
}

}  // namespace
}  // namespace vellora
