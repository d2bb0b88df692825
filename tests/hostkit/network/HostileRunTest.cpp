#include "tests/hostkit/network/HostileRun.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <optional>

namespace vellora::hostkit {
namespace {

TEST(HostileRunTest, EightThreadsGetTheirOwnAnswersOrClearErrorsFromAHostileServer) {
  constexpr std::size_t requestsOfAThread = 40;
  HostileTally tally;
  for (const std::uint64_t seed : {1U, 2U}) {
    EXPECT_EQ(runHostileRound(seed, requestsOfAThread, tally), std::nullopt) << "seed " << seed;
  }
  EXPECT_EQ(tally.requests, 2 * (8 * requestsOfAThread + tally.cutOff / 2));
  EXPECT_EQ(tally.answers + tally.failures + tally.cutOff, tally.requests);
  EXPECT_GT(tally.answers, 0U);
  EXPECT_GT(tally.failures, tally.answers);
  EXPECT_GT(tally.played.size(), 25U) << "of the tricks";
}

}  // namespace
}  // namespace vellora::hostkit
