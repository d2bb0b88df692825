#include "vellora/DataServices/LayoutSteps.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "hostkit/cache/memory/MemoryCache.h"
#include "testkit/FaultyNetwork.h"
#include "testkit/RecordingLogger.h"
#include "testkit/StubNetwork.h"
#include "tests/support/TestClock.h"
#include "tests/support/TestError.h"
#include "vellora/DataServices/ServerRequest.h"

namespace vellora {
namespace {

using CorvaneSDK::LogLevel;
using testing::ElementsAre;
using testing::IsEmpty;
using testkit::RecordingLogger;
using testkit::StubNetwork;

/// All that the steps ask of a layout.
struct TypedText {
  std::string objectType;
};

TEST(LayoutStepsTest, JoinsNamesInTheirOrder) {
  EXPECT_EQ(joined({}, ","), "");
  EXPECT_EQ(joined({"A"}, ","), "A");
  EXPECT_EQ(joined({"B", "A", "", "A"}, ", "), "B, A, , A");
}

TEST(LayoutStepsTest, MissesTheNamesThatAreNoLayoutsTypeAsOftenAsTheyAreNamed) {
  const std::vector<TypedText> layouts{{"A"}, {"C"}};
  EXPECT_THAT(namesWithoutLayout({"D", "A", "B", "D", "a"}, layouts), ElementsAre("D", "B", "D", "a"));
  EXPECT_THAT(namesWithoutLayout({}, layouts), IsEmpty());
}

TEST(LayoutStepsTest, OnlyWhatIsOlderThanTheTimeoutIsExpired) {
  const tests::TestClock clock(Date::since1970(1000));
  EXPECT_FALSE(Expiry(100).isPast(Date::since1970(900)));
  EXPECT_TRUE(Expiry(100).isPast(Date::since1970(899.5)));
  EXPECT_FALSE(Expiry(100).isPast(Date::since1970(5000)));
  EXPECT_FALSE(Expiry(std::numeric_limits<double>::quiet_NaN()).isPast(Date::since1970(0)));
}

TEST(LayoutStepsTest, AllLayoutsOfALookupAreComparedWithTheMomentOfTheFirst) {
  tests::TestClock clock(Date::since1970(1000));
  Expiry expiry(100);
  clock.advance(50);
  EXPECT_FALSE(expiry.isPast(Date::since1970(950)));
  clock.advance(1000);
  EXPECT_FALSE(expiry.isPast(Date::since1970(950)));
  EXPECT_TRUE(expiry.isPast(Date::since1970(949)));
}

class LayoutStepsOnDoublesTest : public testing::Test {
 protected:
  std::shared_ptr<RecordingLogger> logger = std::make_shared<RecordingLogger>();
  hostkit::MemoryCache cache;
  StubNetwork network;
  const CorvaneSDK::NetRequest request = serverRequest("/services/x").value();
};

TEST_F(LayoutStepsOnDoublesTest, AServicesLoggerLivesAsLongAsTheService) {
  auto service = std::make_shared<int>(7);
  const auto weak = loggerOf(std::weak_ptr<int>(service), *logger);
  logError(weak, "first", ": ", tests::TestError{"reason"});
  service.reset();
  logError(weak, "second", ": ", tests::TestError{"reason"});
  EXPECT_THAT(logger->texts(LogLevel::error), ElementsAre("first: reason"));
}

TEST_F(LayoutStepsOnDoublesTest, AServiceThatNobodyOwnsHasNoLogger) {
  logError(loggerOf(std::weak_ptr<int>(), *logger), "text", ": ", tests::TestError{"reason"});
  EXPECT_THAT(logger->lines(), IsEmpty());
}

TEST_F(LayoutStepsOnDoublesTest, LoadsTheEntryThatItSaved) {
  saveEntry(cache, *logger, "key", std::string("text"), "save()");
  EXPECT_EQ(loadEntry<std::string>(cache, *logger, "key"), "text");
  EXPECT_THAT(logger->lines(), IsEmpty());
}

TEST_F(LayoutStepsOnDoublesTest, SaysWhyThereIsNoEntry) {
  saveEntry(cache, *logger, "key", std::string("text"), "save()");
  using Other = std::map<std::string, std::string>;
  EXPECT_EQ(loadEntry<Other>(cache, *logger, "key"), std::nullopt);
  EXPECT_EQ(loadEntry<Other>(cache, *logger, "other"), std::nullopt);
  EXPECT_THAT(logger->lines(),
              ElementsAre(RecordingLogger::Line{LogLevel::error,
                                                "load(key:): Failed to decode: expected an object at $"},
                          RecordingLogger::Line{LogLevel::info, "load(key:): No data from cache"}));
}

TEST_F(LayoutStepsOnDoublesTest, SavesNothingThatHasNoJsonForm) {
  saveEntry(cache, *logger, "key", std::string("\xFF"), "save()");
  EXPECT_EQ(cache.load("key"), std::nullopt);
  EXPECT_THAT(logger->texts(LogLevel::error), ElementsAre(testing::StartsWith("save(): Failed to encode: ")));
}

TEST_F(LayoutStepsOnDoublesTest, ADownloadIsABodyOrAnErrorWhoseReasonIsLogged) {
  std::vector<std::string> outcomes;
  for (const auto& answer : {StubNetwork::body(R"("text")"), StubNetwork::body("7"), StubNetwork::nothing(),
                             StubNetwork::failure(tests::TestError{"line down"})}) {
    network.answer("/services/x", answer);
    download<std::string>(network, request, logger, "get()", [&](const auto& body, const auto& error) {
      outcomes.push_back(body.value_or("none") + ", " + (error ? error->description() : "none"));
    });
  }
  EXPECT_THAT(outcomes, ElementsAre("text, none", "none, decoding", "none, network", "none, network"));
  EXPECT_THAT(
      logger->lines(),
      ElementsAre(RecordingLogger::Line{LogLevel::error, "get(): Failed to decode: expected a string at $"},
                  RecordingLogger::Line{LogLevel::error, "get(): Network request error:  line down"}));
}

TEST_F(LayoutStepsOnDoublesTest, ADownloadIsOverWithTheFirstAnswer) {
  const auto body = std::make_shared<StubNetwork>();
  body->answer("/services/x", StubNetwork::body("\"text\""));
  const auto faults = std::make_shared<testkit::HostFaults>();
  faults->plan(0, testkit::HostFault::answeredTwice);
  testkit::FaultyNetwork twice(body, faults);
  int outcomes = 0;
  download<std::string>(twice, request, logger, "get()", [&](const auto&, const auto&) { ++outcomes; });
  EXPECT_EQ(outcomes, 1);
}

TEST_F(LayoutStepsOnDoublesTest, ADownloadIsAnsweredWithTheFreshLayoutsAFailureWithAllThatWereFound) {
  std::vector<std::string> answers;
  const LayoutCompletion<TypedText> completion = [&](const auto& layouts, const auto& error) {
    std::string text = error ? error->description() : "none";
    for (const auto& layout : *layouts) text += " " + layout.objectType;
    answers.push_back(text);
  };
  const auto answer =
      answerWithCached<TypedText>({{{"Fresh"}}, {{"Old"}, {"Fresh"}}}, logger, "look()", completion);
  answer(std::vector<TypedText>{{"New"}}, std::nullopt);
  answer(std::nullopt, std::nullopt);
  EXPECT_THAT(logger->lines(), IsEmpty());
  answer(std::nullopt, SObjectsDataServiceError::decoding());
  EXPECT_THAT(answers, ElementsAre("none New Fresh", "none Old Fresh", "decoding Old Fresh"));
  EXPECT_THAT(logger->lines(), ElementsAre(RecordingLogger::Line{
                                   LogLevel::error,
                                   "look(): Network request error:  The operation could not be completed. "
                                   "(SObjectsDataServiceError.decoding)"}));
  answerWithCached<TypedText>({}, logger, "look()", nullptr)(std::nullopt, std::nullopt);
}

}  // namespace
}  // namespace vellora
