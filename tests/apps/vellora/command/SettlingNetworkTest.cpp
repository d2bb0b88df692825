#include "apps/vellora/command/SettlingNetwork.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>

#include "testkit/StubNetwork.h"
#include "tests/support/Requests.h"

namespace vellora::command {
namespace {

using testkit::StubNetwork;

class SettlingNetworkTest : public testing::Test {
 protected:
  void send(const std::string& url) {
    stub->answer(url, StubNetwork::body("{}").held());
    network.sendRequest(tests::get(url), [](const auto&, const auto&, const auto&) {});
  }

  const std::shared_ptr<StubNetwork> stub = std::make_shared<StubNetwork>();
  SettlingNetwork network{stub};
};

TEST_F(SettlingNetworkTest, NamesThePathOfTheOldestRequestWithoutAnAnswer) {
  EXPECT_EQ(network.unanswered(), std::nullopt);
  send("/first?q=A");
  send("/second");
  EXPECT_EQ(network.unanswered(), "/first");
  stub->release("/first?q=A");
  EXPECT_EQ(network.unanswered(), "/second");
  stub->release("/second");
  EXPECT_EQ(network.unanswered(), std::nullopt);
}

TEST_F(SettlingNetworkTest, OfTwoRequestsToOnePathEachNeedsItsAnswer) {
  send("/same?q=A");
  send("/same?q=B");
  stub->release("/same?q=A");
  EXPECT_EQ(network.unanswered(), "/same");
  stub->release("/same?q=B");
  EXPECT_EQ(network.unanswered(), std::nullopt);
}

TEST_F(SettlingNetworkTest, ARequestIsAnsweredWhileItsCompletionRuns) {
  stub->answer("/one", StubNetwork::body("{}").held());
  std::optional<std::string> within = "not asked";
  network.sendRequest(tests::get("/one"),
                      [&](const auto&, const auto&, const auto&) { within = network.unanswered(); });
  stub->release("/one");
  EXPECT_EQ(within, std::nullopt);
}

TEST_F(SettlingNetworkTest, HasSettledWithNothingSentWithoutAnAnswerAndAfterOne) {
  network.settle();
  send("/one");
  network.settle();
  stub->release("/one");
  network.settle();
  EXPECT_EQ(network.unanswered(), std::nullopt);
}

}  // namespace
}  // namespace vellora::command
