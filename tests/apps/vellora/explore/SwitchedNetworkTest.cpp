#include "apps/vellora/explore/SwitchedNetwork.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>

#include "testkit/StubNetwork.h"
#include "vellora/Platform/Web/URLComponents.h"
#include "vellora/Platform/Web/URLRequest.h"

namespace vellora::explore {
namespace {

TEST(SwitchedNetworkTest, FailsEachRequestAtOnceWhileItIsOff) {
  const auto server = std::make_shared<testkit::StubNetwork>();
  server->answer("/a", testkit::StubNetwork::body("there"));
  const auto reachable = std::make_shared<ServerSwitch>(false);
  SwitchedNetwork network(server, reachable);
  std::string outcome;
  const auto ask = [&] {
    const CorvaneSDK::NetRequest request(URLRequest(URLComponents::parse("/a")->url().value()));
    network.sendRequest(request, [&](auto data, auto error, auto) {
      outcome = data ? std::string(data->view()) : error->localizedDescription();
    });
  };
  ask();
  EXPECT_EQ(outcome, "the server has been taken away");
  EXPECT_EQ(server->count(), 0U);
  *reachable = true;
  ask();
  EXPECT_EQ(outcome, "there");
}

}  // namespace
}  // namespace vellora::explore
