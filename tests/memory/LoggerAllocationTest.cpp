#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <string>

#include "hostkit/log/RedactingLogger.h"
#include "hostkit/log/SpdlogLogger.h"
#include "hostkit/secrets/KnownSecrets.h"
#include "tests/support/AllocationCounter.h"
#include "tests/support/TemporaryFolder.h"
#include "vellora/Host/LogLevel.h"
#include "vellora/Host/Logger.h"

namespace vellora::hostkit {
namespace {

/// Whether there was an allocation of that number while `logger` wrote a line.
bool failOnce(CorvaneSDK::Logger& logger, std::size_t number) {
  const std::string line(300, 'x');
  const tests::AllocationFailure failure(number);
  logger.log(line, CorvaneSDK::LogLevel::info);
  return failure.happened();
}

TEST(LoggerAllocationTest, ALineForWhichThereIsNoMemoryIsDroppedAndNobodyHearsOfIt) {
  const tests::TemporaryFolder folder;
  const auto file = SpdlogLogger::toFile(folder.file("log"), SpdlogLogger::Level::info).value();
  const auto secrets = std::make_shared<KnownSecrets>();
  secrets->note("abc-secret99");
  RedactingLogger redacting(secrets, file);
  for (CorvaneSDK::Logger* const logger :
       {static_cast<CorvaneSDK::Logger*>(file.get()), static_cast<CorvaneSDK::Logger*>(&redacting)}) {
    std::size_t number = 0;
    testing::internal::CaptureStderr();
    EXPECT_NO_THROW(while (failOnce(*logger, ++number)) continue);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_GT(number, 1U);
  }
}

}  // namespace
}  // namespace vellora::hostkit
