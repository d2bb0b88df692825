#include "testkit/SentRequests.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "tests/support/Requests.h"

namespace vellora::testkit {
namespace {

using testing::ElementsAre;
using tests::get;

TEST(SentRequestsTest, KeepsRequestsInTheirOrderWithTheirThreads) {
  SentRequests sent;
  sent.add(get("/a"));
  std::thread::id other;
  std::thread([&] {
    other = std::this_thread::get_id();
    sent.add(get("/b"));
  }).join();
  sent.add(get("/a"));
  EXPECT_THAT(sent.urls(), ElementsAre("/a", "/b", "/a"));
  EXPECT_EQ(sent.count(), 3U);
  EXPECT_EQ(sent.count("/a"), 2U);
  EXPECT_EQ(sent.all().at(1).thread, other);
  EXPECT_EQ(sent.all().at(1).request, get("/b"));
}

TEST(SentRequestsTest, WaitsForANumberOfThem) {
  SentRequests sent;
  std::thread other([&] { sent.add(get("/a")); });
  EXPECT_TRUE(sent.waitFor(1, std::chrono::seconds(60)));
  other.join();
  EXPECT_FALSE(sent.waitFor(2, std::chrono::milliseconds(1)));
}

}  // namespace
}  // namespace vellora::testkit
