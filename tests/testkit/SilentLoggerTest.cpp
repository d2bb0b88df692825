#include "testkit/SilentLogger.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "tests/support/AllocationCounter.h"

namespace vellora::testkit {
namespace {

using CorvaneSDK::LogLevel;

TEST(SilentLoggerTest, ALineCostsNoMemory) {
  const std::shared_ptr<CorvaneSDK::Logger> logger = std::make_shared<SilentLogger>();
  const std::string message(1000, 'x');
  const tests::AllocationCounter counter;
  for (const LogLevel level : {LogLevel::info, LogLevel::error}) logger->log(message, level);
  EXPECT_EQ(counter.allocations(), 0U);
}

TEST(SilentLoggerTest, KeepsNothingOfALine) {
  SilentLogger logger;
  const auto before = tests::LiveMemory::now();
  for (int line = 0; line < 100; ++line) logger.log(std::string(1000, 'x'), LogLevel::info);
  EXPECT_EQ(tests::LiveMemory::now().blocks, before.blocks);
}

}  // namespace
}  // namespace vellora::testkit
