#include "apps/vellora/explore/ObservedNetwork.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "testkit/StubNetwork.h"
#include "vellora/Platform/Web/URLComponents.h"
#include "vellora/Platform/Web/URLRequest.h"

namespace vellora::explore {
namespace {

using testkit::StubNetwork;

/// What is noted of one request that is answered so.
class ObservedNetworkTest : public testing::Test {
 protected:
  void ask(const StubNetwork::Answer& answer) {
    server->answer("/a", answer);
    const CorvaneSDK::NetRequest request(URLRequest(URLComponents::parse("/a")->url().value()));
    ObservedNetwork(server, activity).sendRequest(request, [this](auto data, auto, auto) {
      hasBody = data.has_value();
    });
  }

  const std::shared_ptr<StubNetwork> server = std::make_shared<StubNetwork>();
  const std::shared_ptr<Activity> activity = std::make_shared<Activity>();
  bool hasBody = false;
};

TEST_F(ObservedNetworkTest, CountsAnErrorStatusAsAFailureThoughABodyCameWithIt) {
  ask(StubNetwork::body("[]").with(URLResponse{"", 401, {}}));
  EXPECT_TRUE(hasBody);
  EXPECT_EQ(activity->totals().answers, 0);
  EXPECT_EQ(activity->totals().failures, 1);
  EXPECT_EQ(activity->after(0).back().outcome, "failed: status 401");
}

TEST_F(ObservedNetworkTest, CountsASuccessAndAnUnknownStatusAsAnswers) {
  ask(StubNetwork::body("[]").with(URLResponse{"", 204, {}}));
  ask(StubNetwork::body("[]"));
  EXPECT_EQ(activity->totals().answers, 2);
  EXPECT_EQ(activity->totals().failures, 0);
  EXPECT_EQ(activity->after(0).front().outcome, "status 204");
  EXPECT_EQ(activity->after(0).back().outcome, "answered");
}

TEST_F(ObservedNetworkTest, SaysWhyThereWasNoAnswer) {
  ask(StubNetwork::nothing());
  EXPECT_FALSE(hasBody);
  EXPECT_EQ(activity->after(0).back().outcome, "failed: no answer");
}

}  // namespace
}  // namespace vellora::explore
