#include "apps/vellora/command/NotingLogger.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "testkit/RecordingLogger.h"

namespace vellora::command {
namespace {

using CorvaneSDK::LogLevel;
using testing::ElementsAre;

class NotingLoggerTest : public testing::Test {
 protected:
  NotingLoggerTest() { failures->note({.path = "/a", .statusCode = 200, .error = {}}); }

  const std::shared_ptr<RequestFailures> failures = std::make_shared<RequestFailures>();
  const std::shared_ptr<testkit::RecordingLogger> next = std::make_shared<testkit::RecordingLogger>();
  NotingLogger logger{failures, next};
};

TEST_F(NotingLoggerTest, PassesLinesOn) {
  logger.log("one", LogLevel::info);
  logger.log("two", LogLevel::error);
  EXPECT_THAT(next->texts(LogLevel::info), ElementsAre("one"));
  EXPECT_THAT(next->texts(LogLevel::error), ElementsAre("two"));
}

TEST_F(NotingLoggerTest, AnErrorIsAFailureOfTheAnswer) {
  logger.log("no list", LogLevel::error);
  EXPECT_EQ(failures->first(), "the answer of the server to /a (status 200) cannot be used: no list");
}

TEST_F(NotingLoggerTest, NeitherWhatIsNoErrorNorWhatIsAboutTheCacheIsAFailure) {
  logger.log("a list", LogLevel::info);
  for (const auto* line : {"cachedSObjects(): Failed to decode: x", "load(key:): Failed to decode: x",
                           "save(_:): Failed to encode: x"})
    logger.log(line, LogLevel::error);
  EXPECT_EQ(failures->first(), std::nullopt);
}

TEST_F(NotingLoggerTest, TellsOfTheAwaitedLineEachTimeAfterPassingItOn) {
  std::vector<std::size_t> linesBefore;
  logger.whenLogged("over", [&] { linesBefore.push_back(next->lines().size()); });
  for (const auto* line : {"over", "not over", "over"}) logger.log(line, LogLevel::info);
  EXPECT_THAT(linesBefore, ElementsAre(1U, 3U));
}

}  // namespace
}  // namespace vellora::command
