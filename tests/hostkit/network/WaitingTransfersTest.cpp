#include "hostkit/network/WaitingTransfers.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace vellora::hostkit {
namespace {

using std::chrono::seconds;
using TimePoint = WaitingTransfers::TimePoint;
using Paths = std::vector<std::string>;

/// Transfers that nobody drives, on a clock of the test's own.
class WaitingTransfersTest : public testing::Test {
 protected:
  void add(const std::string& path, double timeout, seconds at) {
    waiting.add(std::make_unique<CurlTransfer>(
                    setting, CurlRequest{.url = {}, .headerLines = {}, .timeout = timeout, .token = {}}, path,
                    [](auto, auto, auto) {}),
                start + at);
  }

  /// The paths of what has expired by then.
  Paths expired(seconds at) { return pathsOf(waiting.takeExpired(start + at)); }

  static Paths pathsOf(const WaitingTransfers::Transfers& transfers) {
    Paths paths;
    for (const auto& transfer : transfers) paths.push_back(transfer->path());
    return paths;
  }

  const TransferSetting setting{.server = ServerAddress::parse("https://records.example").value(),
                                .caFile = {},
                                .maxBodyBytes = 100,
                                .connectTimeout = 15,
                                .observer = {}};
  const TimePoint start = TimePoint() + std::chrono::hours(1);
  WaitingTransfers waiting;
};

TEST_F(WaitingTransfersTest, TheFirstToComeIsTheFirstToGo) {
  add("/a", 60, seconds(0));
  add("/b", 60, seconds(1));
  EXPECT_EQ(waiting.takeFirst()->path(), "/a");
  EXPECT_EQ(waiting.takeFirst()->path(), "/b");
  EXPECT_TRUE(waiting.empty());
}

TEST_F(WaitingTransfersTest, WithoutProgressATransferWaitsForAsLongAsItsRequestMayTake) {
  add("/short", 10, seconds(0));
  add("/long", 60, seconds(0));
  add("/later", 10, seconds(5));
  EXPECT_EQ(waiting.soonestExpiry(), start + seconds(10));
  EXPECT_EQ(expired(seconds(9)), Paths());
  EXPECT_EQ(expired(seconds(10)), Paths{"/short"});
  EXPECT_EQ(waiting.soonestExpiry(), start + seconds(15));
  EXPECT_EQ(expired(seconds(60)), (Paths{"/long", "/later"}));
  EXPECT_EQ(waiting.soonestExpiry(), TimePoint::max());
}

TEST_F(WaitingTransfersTest, ForAsLongAsTheQueueGetsOnNoneIsGivenUp) {
  add("/a", 10, seconds(0));
  for (int second = 5; second < 100'000; second += 5) {
    waiting.noteProgress(start + seconds(second));
    ASSERT_EQ(expired(seconds(second + 4)), Paths()) << second;
  }
  EXPECT_EQ(expired(seconds(100'004)), Paths());
  EXPECT_EQ(expired(seconds(100'005)), Paths{"/a"});
}

TEST_F(WaitingTransfersTest, SoonestExpiryIsNeverTooLate) {
  add("/a", 10, seconds(0));
  waiting.noteProgress(start + seconds(8));
  EXPECT_LE(waiting.soonestExpiry(), start + seconds(18));
  EXPECT_EQ(expired(seconds(12)), Paths());
  EXPECT_EQ(waiting.soonestExpiry(), start + seconds(18));
  add("/b", 1, seconds(12));
  EXPECT_EQ(waiting.soonestExpiry(), start + seconds(13));
}

TEST_F(WaitingTransfersTest, OneThatHasGoneExpiresNoMore) {
  add("/a", 10, seconds(0));
  EXPECT_EQ(waiting.takeFirst()->path(), "/a");
  add("/b", 60, seconds(0));
  EXPECT_EQ(waiting.soonestExpiry(), start + seconds(60));
}

TEST_F(WaitingTransfersTest, AllAreTakenInTheirOrder) {
  add("/a", 60, seconds(0));
  add("/b", 60, seconds(0));
  EXPECT_EQ(pathsOf(waiting.takeAll()), (Paths{"/a", "/b"}));
  EXPECT_TRUE(waiting.empty());
}

TEST_F(WaitingTransfersTest, WhatIsPostponedExpiresLaterWhatComesLaterDoesNot) {
  add("/a", 10, seconds(0));
  waiting.postpone(seconds(100));
  add("/b", 10, seconds(50));
  EXPECT_EQ(waiting.soonestExpiry(), start + seconds(60));
  EXPECT_EQ(expired(seconds(60)), Paths{"/b"});
  EXPECT_EQ(waiting.soonestExpiry(), start + seconds(110));
  EXPECT_EQ(expired(seconds(109)), Paths());
  waiting.noteProgress(start + seconds(109));
  EXPECT_EQ(expired(seconds(118)), Paths());
  EXPECT_EQ(expired(seconds(119)), Paths{"/a"});
}

}  // namespace
}  // namespace vellora::hostkit
