#include "vellora/DataServices/FailureLog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

#include "testkit/RecordingLogger.h"
#include "tests/support/TestError.h"

namespace vellora {
namespace {

using testing::ElementsAre;
using testkit::RecordingLogger;

TEST(FailureLogTest, NotesAFailureAsOneLineWhileTheServiceLives) {
  RecordingLogger logger;
  auto service = std::make_shared<int>(7);
  const FailureLog log(std::weak_ptr<int>(service), logger, "load()");
  log.note(": ", tests::TestError{"reason"});
  service.reset();
  log.note(": ", tests::TestError{"another"});
  EXPECT_THAT(logger.lines(),
              ElementsAre(RecordingLogger::Line{CorvaneSDK::LogLevel::error, "load(): reason"}));
}

TEST(FailureLogTest, NotesNothingForAServiceThatNobodyOwns) {
  RecordingLogger logger;
  FailureLog(std::weak_ptr<int>(), logger, "load()").note(": ", tests::TestError{"reason"});
  EXPECT_THAT(logger.lines(), testing::IsEmpty());
}

}  // namespace
}  // namespace vellora
