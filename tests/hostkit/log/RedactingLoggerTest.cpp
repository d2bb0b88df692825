#include "hostkit/log/RedactingLogger.h"

#include <gtest/gtest.h>

#include <memory>

#include "testkit/RecordingLogger.h"

namespace vellora::hostkit {
namespace {

using CorvaneSDK::LogLevel;

TEST(RedactingLoggerTest, PassesLinesOnWithoutWhatHasBeenSentByThen) {
  const auto secrets = std::make_shared<KnownSecrets>();
  const auto recorder = std::make_shared<testkit::RecordingLogger>();
  RedactingLogger logger(secrets, recorder);

  logger.log("theme(for:), name: abc-secret99\n", LogLevel::info);
  secrets->note("abc-secret99");
  logger.log("theme(for:), name: abc-secret99\n", LogLevel::error);

  const auto lines = recorder->lines();
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_EQ(lines[0].text, "theme(for:), name: abc-secret99\n");
  EXPECT_EQ(lines[0].level, LogLevel::info);
  EXPECT_EQ(lines[1].text, "theme(for:), name: [token]\n");
  EXPECT_EQ(lines[1].level, LogLevel::error);
}

}  // namespace
}  // namespace vellora::hostkit
