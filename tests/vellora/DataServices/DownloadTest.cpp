#include "vellora/DataServices/Download.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "testkit/FaultyNetwork.h"
#include "testkit/RecordingLogger.h"
#include "testkit/StubNetwork.h"
#include "tests/support/TestError.h"
#include "vellora/DataServices/ServerRequest.h"

namespace vellora {
namespace {

using CorvaneSDK::LogLevel;
using testing::ElementsAre;
using testkit::RecordingLogger;
using testkit::StubNetwork;

class DownloadTest : public testing::Test {
 protected:
  void startOn(CorvaneSDK::Network& network) {
    const FailureLog log(std::weak_ptr<int>(service), logger, "get()");
    download<std::string>(network, request, log, [&](const Download<std::string>& answer) {
      outcomes.push_back(answer.body.value_or("none") + ", " +
                         (answer.error ? answer.error->description() : "none"));
    });
  }

  RecordingLogger logger;
  const CorvaneSDK::NetRequest request = serverRequest("/services/x").value();
  const std::shared_ptr<int> service = std::make_shared<int>(7);
  std::vector<std::string> outcomes;
};

TEST_F(DownloadTest, IsABodyOrAnErrorWhoseReasonIsLogged) {
  StubNetwork network;
  for (const auto& answer : {StubNetwork::body(R"("text")"), StubNetwork::body("7"), StubNetwork::nothing(),
                             StubNetwork::failure(tests::TestError{"line down"})}) {
    network.answer("/services/x", answer);
    startOn(network);
  }
  EXPECT_THAT(outcomes, ElementsAre("text, none", "none, decoding", "none, network", "none, network"));
  EXPECT_THAT(
      logger.lines(),
      ElementsAre(RecordingLogger::Line{LogLevel::error, "get(): Failed to decode: expected a string at $"},
                  RecordingLogger::Line{LogLevel::error, "get(): Network request error:  line down"}));
}

TEST_F(DownloadTest, IsOverWithTheFirstAnswer) {
  const auto body = std::make_shared<StubNetwork>();
  body->answer("/services/x", StubNetwork::body("\"text\""));
  const auto faults = std::make_shared<testkit::HostFaults>();
  faults->plan(0, testkit::HostFault::answeredTwice);
  testkit::FaultyNetwork twice(body, faults);
  startOn(twice);
  EXPECT_THAT(outcomes, ElementsAre("text, none"));
}

}  // namespace
}  // namespace vellora
