#include "vellora/Platform/Web/URLRequest.h"

#include <gtest/gtest.h>

#include "vellora/Platform/Web/URLComponents.h"

namespace vellora {
namespace {

URL someUrl() {
  return URLComponents::parse("/services/data")->url().value();
}

TEST(URLRequestTest, IsAGetWithoutHeadersAndBodyByDefault) {
  const URLRequest request(someUrl());
  EXPECT_EQ(request.url.absoluteString(), "/services/data");
  EXPECT_EQ(request.httpMethod, "GET");
  EXPECT_EQ(request.timeoutInterval, 60.0);
  EXPECT_EQ(request.cachePolicy, URLRequestCachePolicy::useProtocolCachePolicy);
  EXPECT_TRUE(request.headers.empty());
  EXPECT_FALSE(request.body.has_value());
}

TEST(URLRequestTest, TakesAnotherTimeout) {
  const URLRequest request(someUrl(), URLRequestCachePolicy::useProtocolCachePolicy, 5.0);
  EXPECT_EQ(request.timeoutInterval, 5.0);
}

TEST(URLRequestTest, EqualsARequestOfTheSameContent) {
  URLRequest changed(someUrl());
  EXPECT_EQ(URLRequest(someUrl()), changed);
  changed.body = Data(std::string("x"));
  EXPECT_NE(URLRequest(someUrl()), changed);
}

}  // namespace
}  // namespace vellora
