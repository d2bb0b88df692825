#include "vellora/DataServices/Sending.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "testkit/FaultyNetwork.h"
#include "testkit/StubNetwork.h"
#include "tests/support/Answer.h"
#include "tests/support/TestError.h"
#include "vellora/DataServices/PartOf.h"
#include "vellora/DataServices/Requester.h"
#include "vellora/DataServices/SObjectsDataServiceError.h"
#include "vellora/DataServices/ServerRequest.h"

namespace vellora {
namespace {

using testing::ElementsAre;
using testkit::StubNetwork;
using Body = std::optional<Data>;
using Answer = tests::Answer<Body>;

constexpr const char* url = "/services/x";

/// "body", "none" for an absent one, or the error's text.
std::string textOf(const Result<Body>& result) {
  if (!result) return result.error().localizedDescription();
  return result.value() ? std::string(result.value()->view()) : "none";
}

std::string textOf(const Answer& answer) {
  if (!answer.hasEnded()) return "unanswered";
  return textOf(answer.error() ? Result<Body>(*answer.error()) : Result<Body>(answer.value().value()));
}

/// A network, and a service that owns it.
class SendingTest : public testing::Test {
 protected:
  Publisher<Body> atEachSubscription() {
    return sentAtEachSubscription(partOf(std::weak_ptr<int>(service), *network), request, Preferred::error);
  }

  const std::shared_ptr<StubNetwork> network = std::make_shared<StubNetwork>();
  std::shared_ptr<int> service = std::make_shared<int>(7);
  const CorvaneSDK::NetRequest request = serverRequest(url).value();
};

TEST_F(SendingTest, OfBodyAndErrorThePreferredOneCounts) {
  const Error error(tests::TestError{"line down"});
  EXPECT_EQ(textOf(networkAnswer(Data("body"), error, Preferred::body)), "body");
  EXPECT_EQ(textOf(networkAnswer(Data("body"), error, Preferred::error)), "line down");
  for (const auto preferred : {Preferred::body, Preferred::error}) {
    EXPECT_EQ(textOf(networkAnswer(Data("body"), std::nullopt, preferred)), "body");
    EXPECT_EQ(textOf(networkAnswer(std::nullopt, error, preferred)), "line down");
    EXPECT_EQ(textOf(networkAnswer(std::nullopt, std::nullopt, preferred)), "none");
  }
}

TEST_F(SendingTest, HandsOverEveryAnswerOfTheNetwork) {
  network->answer(url, StubNetwork::body("body"));
  const auto faults = std::make_shared<testkit::HostFaults>();
  faults->plan(0, testkit::HostFault::answeredTwice);
  testkit::FaultyNetwork twice(network, faults);
  int answers = 0;
  send(twice, request, Preferred::body, [&](const NetworkAnswer&) { ++answers; });
  EXPECT_EQ(answers, 2);
}

TEST_F(SendingTest, SendsNowAndOnceWhoeverSubscribes) {
  network->answer(url, StubNetwork::body("body").held());
  const auto publisher = sentNow(*network, request, Preferred::error);
  EXPECT_EQ(network->count(url), 1U);
  const Answer early(publisher);
  network->releaseAll();
  EXPECT_EQ(textOf(early), "body");
  EXPECT_EQ(textOf(Answer(publisher)), "body");
  EXPECT_EQ(network->count(url), 1U);
}

TEST_F(SendingTest, ASubscriberHearsOnlyTheFirstOfTwoAnswers) {
  network->answer(url, StubNetwork::body("body"));
  const auto faults = std::make_shared<testkit::HostFaults>();
  faults->plan(0, testkit::HostFault::answeredTwice);
  testkit::FaultyNetwork twice(network, faults);
  std::vector<std::string> values;
  const auto token = sentNow(twice, request, Preferred::body).sink([&](const Body& body) {
    values.push_back(textOf(body));
  });
  EXPECT_THAT(values, ElementsAre("body"));
}

TEST_F(SendingTest, SendsAnewAtEachSubscription) {
  network->answer(url, {StubNetwork::body("first"), StubNetwork::failure(tests::TestError{"line down"})});
  const auto publisher = atEachSubscription();
  EXPECT_EQ(network->count(), 0U);
  EXPECT_EQ(textOf(Answer(publisher)), "first");
  EXPECT_EQ(textOf(Answer(publisher)), "line down");
  EXPECT_EQ(network->count(url), 2U);
}

TEST_F(SendingTest, SendsNothingForAServiceThatIsGone) {
  const auto publisher = atEachSubscription();
  service.reset();
  EXPECT_EQ(textOf(Answer(publisher)), "unanswered");
  EXPECT_EQ(network->count(), 0U);
}

TEST_F(SendingTest, AServiceIsNotHeldWhileItsRequestIsUnderWay) {
  network->answer(url, StubNetwork::body("body").held());
  const Answer answer(atEachSubscription());
  service.reset();
  network->releaseAll();
  EXPECT_EQ(textOf(answer), "body");
}

TEST_F(SendingTest, AnAbsentBodyIsTheErrorOfTheServiceThatAsked) {
  const auto decode = decodedBody<std::string, SObjectsDataServiceError::noData>;
  EXPECT_EQ(decode(Data("\"text\"")).value(), "text");
  EXPECT_EQ(decode(std::nullopt).error().description(), "noData");
  EXPECT_EQ(decode(Data("7")).error().localizedDescription(), "expected a string at $");
}

/// Keeps what it is told.
class Told final : public Requester {
 public:
  [[nodiscard]] Answered sending(const std::string& sent, int attempt) override {
    lines.push_back(sent + " " + std::to_string(attempt));
    return [this](const NetworkAnswer& answer) { lines.push_back(textOf(answer)); };
  }
  void served() override {}
  [[nodiscard]] std::optional<TimedQueue::Delay> pauseAfter(int, const Error&) override {
    return std::nullopt;
  }
  [[nodiscard]] CallbackGate& writes() const override { return writes_; }
  [[nodiscard]] const std::shared_ptr<TimedQueue>& timer() const override { return TimedQueue::system(); }

  std::vector<std::string> lines;

 private:
  mutable CallbackGate writes_;
};

TEST_F(SendingTest, ARequesterIsToldOfTheRequestAndOfItsAnswerBeforeWhoWaits) {
  const auto told = std::make_shared<Told>();
  network->answer(url, StubNetwork::body("body").held());
  const auto token = sentNow(*network, request, Preferred::error, {told, 3}).sink([&](const Body&) {
    told->lines.emplace_back("received");
  });
  EXPECT_THAT(told->lines, ElementsAre("/services/x 3"));
  network->releaseAll();
  EXPECT_THAT(told->lines, ElementsAre("/services/x 3", "body", "received"));
}

}  // namespace
}  // namespace vellora
