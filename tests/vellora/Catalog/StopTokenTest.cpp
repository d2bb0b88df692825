#include "vellora/Catalog/StopToken.h"

#include <gtest/gtest.h>

#include <functional>
#include <stop_token>
#include <type_traits>

#include "tests/vellora/Catalog/WithoutStopTokens.h"
#include "vellora/Catalog/QuestionOptions.h"

namespace vellora {
namespace {

class StopTokenTest : public testing::Test {
 protected:
  std::function<void()> counting() {
    return [this] { ++calls; };
  }

  int calls = 0;
  std::stop_source source;
  const std::stop_token token = source.get_token();
};

TEST_F(StopTokenTest, CallsWhenAStopIsRequested) {
  const auto watch = StopToken(token).whenStopped(counting());
  EXPECT_EQ(calls, 0);
  source.request_stop();
  EXPECT_EQ(calls, 1);
}

TEST_F(StopTokenTest, CallsAtOnceWhenAStopWasRequestedBefore) {
  source.request_stop();
  const auto watch = StopToken(token).whenStopped(counting());
  EXPECT_EQ(calls, 1);
}

TEST_F(StopTokenTest, DoesNotCallWhenNobodyKeepsWatch) {
  StopToken(token).whenStopped(counting()).reset();
  source.request_stop();
  EXPECT_EQ(calls, 0);
}

TEST_F(StopTokenTest, NobodyRequestsAStopThroughOneThatWasMadeOfNothing) {
  EXPECT_EQ(StopToken().whenStopped(counting()), nullptr);
  EXPECT_EQ(QuestionOptions().stop.value().whenStopped(counting()), nullptr);
  EXPECT_EQ(calls, 0);
}

TEST_F(StopTokenTest, RefusesATokenThatNobodyKeeps) {
  EXPECT_TRUE((std::is_constructible_v<StopToken, const std::stop_token&>));
  EXPECT_FALSE((std::is_constructible_v<StopToken, std::stop_token>));
  EXPECT_FALSE((std::is_constructible_v<StopToken, const std::stop_token>));
}

// A program's sources may differ in whether they see the standard library's tokens.
TEST_F(StopTokenTest, ASourceThatKnowsNoStopTokensPassesOneOnAllTheSame) {
  const auto watch = tests::whenStoppedElsewhere({.stop = token}, counting());
  source.request_stop();
  EXPECT_EQ(calls, 1);
}

}  // namespace
}  // namespace vellora
