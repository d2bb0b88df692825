#include "testkit/RecordingLogger.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

namespace vellora::testkit {
namespace {

using CorvaneSDK::LogLevel;
using Lines = std::vector<RecordingLogger::Line>;
using Texts = std::vector<std::string>;

TEST(RecordingLoggerTest, KeepsLinesWithTheirLevelInOrder) {
  RecordingLogger logger;
  logger.log("fetched", LogLevel::info);
  logger.log("failed", LogLevel::error);
  EXPECT_EQ(logger.lines(), (Lines{{LogLevel::info, "fetched"}, {LogLevel::error, "failed"}}));
}

TEST(RecordingLoggerTest, GivesTheTextsOfALevel) {
  RecordingLogger logger;
  logger.log("one", LogLevel::info);
  logger.log("failed", LogLevel::error);
  logger.log("two", LogLevel::info);
  EXPECT_EQ(logger.texts(LogLevel::info), (Texts{"one", "two"}));
  EXPECT_EQ(logger.texts(LogLevel::error), Texts{"failed"});
}

TEST(RecordingLoggerTest, ContainsLooksWithinLines) {
  RecordingLogger logger;
  logger.log("cachedSObjects(): Failed to decode: x", LogLevel::error);
  EXPECT_TRUE(logger.contains("Failed to decode"));
  EXPECT_FALSE(logger.contains("Failed to encode"));
}

TEST(RecordingLoggerTest, OwnsCopiesOfTheTexts) {
  RecordingLogger logger;
  std::string text = "before";
  logger.log(text, LogLevel::info);
  text = "after!";
  EXPECT_EQ(logger.texts(LogLevel::info), Texts{"before"});
}

TEST(RecordingLoggerTest, ClearForgetsTheLinesSoFar) {
  RecordingLogger logger;
  logger.log("one", LogLevel::info);
  logger.clear();
  logger.log("two", LogLevel::info);
  EXPECT_EQ(logger.lines(), (Lines{{LogLevel::info, "two"}}));
}

TEST(RecordingLoggerTest, WaitsForALineOfAnotherThread) {
  RecordingLogger logger;
  std::thread other([&] { logger.log("late line", LogLevel::info); });
  EXPECT_TRUE(logger.waitFor("late"));
  other.join();
  EXPECT_FALSE(logger.waitFor("never logged", std::chrono::milliseconds(1)));
}

TEST(RecordingLoggerTest, KeepsEveryLineOfSeveralThreads) {
  RecordingLogger logger;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int line = 0; line < 100; ++line) logger.log("line", LogLevel::info);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(logger.lines(), Lines(400, {LogLevel::info, "line"}));
}

}  // namespace
}  // namespace vellora::testkit
