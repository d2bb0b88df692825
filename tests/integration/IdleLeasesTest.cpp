#include <gtest/gtest.h>

#include <cstddef>
#include <future>
#include <memory>
#include <string>
#include <thread>

#include "hostkit/cache/redis/LeasingNetwork.h"
#include "hostkit/cache/redis/RedisCache.h"
#include "testkit/ScriptedServer.h"
#include "testkit/StubNetwork.h"
#include "tests/integration/Rest.h"
#include "tests/support/Requests.h"
#include "tests/support/SteppedSleep.h"

// The thread that asks a Redis for leases, while there is nothing to ask for.

namespace vellora {
namespace {

using testkit::StubNetwork;
using tests::SteppedSleep;

TEST(IdleLeasesTest, TheThreadOfTheLeasesWakesForNothingBeforeARequestAndAfterIt) {
  const std::size_t others = tests::comeToRestAtFirst();
  const auto network = std::make_shared<StubNetwork>();
  network->answer("/theme", StubNetwork::body("{}"));
  // Where there is no Redis each request is sent at once.
  const auto cache =
      hostkit::RedisCache::open("redis://127.0.0.1:" + std::to_string(testkit::closedPort())).value();
  hostkit::LeasingNetwork leasing(network, *cache);
  EXPECT_EQ(SteppedSleep::wakeUpsOfAnHour(others + 1), 0U);

  std::promise<bool> answered;
  leasing.sendRequest(tests::get("/theme", 60), [&](const auto& data, const auto&, const auto&) {
    answered.set_value(data.has_value());
  });
  EXPECT_TRUE(answered.get_future().get());
  while (SteppedSleep::untimedSleepers() < others + 1) std::this_thread::yield();
  EXPECT_EQ(SteppedSleep::wakeUpsOfAnHour(others + 1), 0U);
}

}  // namespace
}  // namespace vellora
