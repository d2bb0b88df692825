#include "apps/records-server/RequestLog.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace vellora::recordsserver {
namespace {

using namespace std::chrono_literals;

TEST(RequestLogTest, KeepsRequestsInTheirOrderUntilCleared) {
  RequestLog log;
  log.add({"GET", "/a", {}});
  log.add({"GET", "/b", {}});
  ASSERT_EQ(log.requests().size(), 2U);
  EXPECT_EQ(log.requests()[0].line(), "GET /a");
  EXPECT_EQ(log.requests()[1].line(), "GET /b");
  log.clear();
  EXPECT_TRUE(log.requests().empty());
}

TEST(RequestLogTest, WaitsForRequestsOfOtherThreads) {
  RequestLog log;
  std::thread other([&log] {
    log.add({"GET", "/a", {}});
    log.add({"GET", "/b", {}});
  });
  EXPECT_TRUE(log.waitFor(2, 60s));
  other.join();
}

TEST(RequestLogTest, GivesUpWaiting) {
  RequestLog log;
  log.add({"GET", "/a", {}});
  EXPECT_TRUE(log.waitFor(1, 0ms));
  EXPECT_FALSE(log.waitFor(2, 0ms));
}

}  // namespace
}  // namespace vellora::recordsserver
