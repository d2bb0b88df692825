#include "vellora/Platform/Publishers/Lease.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>

#include "tests/support/ManualTimer.h"

namespace vellora {
namespace {

using namespace std::chrono_literals;

TEST(LeaseTest, LastsTenSecondsFromItsRenewalAndThePauseOnTop) {
  const auto clock = std::make_shared<tests::ManualTimer>();
  Lease lease(clock);
  clock->advance(9s);
  EXPECT_FALSE(lease.isOver());
  lease.renew();
  clock->advance(9s);
  EXPECT_FALSE(lease.isOver());
  clock->advance(1s);
  EXPECT_TRUE(lease.isOver());
  lease.renew(30s);
  clock->advance(39s);
  EXPECT_FALSE(lease.isOver());
  clock->advance(1s);
  EXPECT_TRUE(lease.isOver());
}

}  // namespace
}  // namespace vellora
