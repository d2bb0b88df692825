#include "vellora/DataServices/LogLine.h"

#include <gtest/gtest.h>

#include <string>

namespace vellora {
namespace {

class LastLine final : public CorvaneSDK::Logger {
 public:
  void log(std::string_view message, CorvaneSDK::LogLevel) override {
    text = message;
    place = message.data();
  }
  std::string text;
  const void* place = nullptr;
};

TEST(LogLineTest, PutsThePartsOneBehindTheOther) {
  LastLine logger;
  logLine(logger, CorvaneSDK::LogLevel::info, "load", {", name: ", "Account", ""});
  EXPECT_EQ(logger.text, "load, name: Account");
}

TEST(LogLineTest, KeepsEveryByteOfALineOfAnyLength) {
  LastLine logger;
  for (const std::size_t size : {0U, 255U, 256U, 257U, 5000U}) {
    const std::string name(size, 'n');
    logLine(logger, CorvaneSDK::LogLevel::info, "", {name});
    EXPECT_EQ(logger.text, name);
  }
}

TEST(LogLineTest, DoesNotCopyALineWithoutParts) {
  LastLine logger;
  const std::string line(5000, 'n');
  logLine(logger, CorvaneSDK::LogLevel::info, line, {});
  EXPECT_EQ(logger.text, line);
  EXPECT_EQ(logger.place, line.data());
}

}  // namespace
}  // namespace vellora
