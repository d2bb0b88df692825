#include "testkit/StubAnswer.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "tests/support/TestError.h"

namespace vellora::testkit {
namespace {

using Delivery = StubAnswer::Delivery;

TEST(StubAnswerTest, HoldsABodyOrAnErrorOrNeither) {
  const auto body = StubAnswer::body(Data(std::string("body")));
  EXPECT_EQ(body.data(), Data(std::string("body")));
  EXPECT_FALSE(body.error());

  const auto failure = StubAnswer::failure(tests::TestError{"unreachable"});
  EXPECT_EQ(failure.data(), std::nullopt);
  ASSERT_TRUE(failure.error());
  EXPECT_NE(failure.error()->as<tests::TestError>(), nullptr);

  EXPECT_EQ(StubAnswer::nothing().data(), std::nullopt);
  EXPECT_FALSE(StubAnswer::nothing().error());
}

TEST(StubAnswerTest, IsDeliveredAtOnceUnlessItIsHeldOrNeverComes) {
  EXPECT_EQ(StubAnswer::nothing().delivery(), Delivery::immediate);
  EXPECT_EQ(StubAnswer::nothing().held().delivery(), Delivery::held);
  EXPECT_EQ(StubAnswer::never().delivery(), Delivery::never);
  EXPECT_EQ(StubAnswer::never().held().delivery(), Delivery::never);
}

TEST(StubAnswerTest, ACopyWithAResponseIsTheSameOtherwise) {
  const URLResponse response{"https://example.test/theme", 503, {}};
  const auto plain = StubAnswer::body(Data(std::string("busy"))).held();
  const auto accompanied = plain.with(response);
  EXPECT_EQ(plain.response(), std::nullopt);
  EXPECT_EQ(accompanied.response(), response);
  EXPECT_EQ(accompanied.data(), plain.data());
  EXPECT_EQ(accompanied.delivery(), Delivery::held);
}

}  // namespace
}  // namespace vellora::testkit
