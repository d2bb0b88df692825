#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "conformance/CacheSamples.h"
#include "conformance/Texts.h"
#include "hostkit/cache/redis/ReconnectPause.h"
#include "hostkit/cache/redis/RedisAddress.h"
#include "hostkit/cache/redis/RedisCache.h"
#include "hostkit/cache/redis/RedisStore.h"
#include "tests/hostkit/cache/ManualClock.h"
#include "tests/hostkit/cache/redis/RedisServer.h"
#include "vellora/Host/CacheTable.h"

namespace vellora::hostkit::tests {

/// Long enough for a machine that is busy with other things.
constexpr std::chrono::minutes longTimeout{2};

/// What a cache tells of its failures. The observer may outlive this: a library's threads end late.
class ToldFailures {
 public:
  [[nodiscard]] RedisCache::Observer observer() {
    return [state = state_](const RedisCacheFailure& failure) {
      const std::lock_guard lock(state->mutex);
      state->failures.push_back(failure);
    };
  }

  [[nodiscard]] std::vector<RedisCacheFailure> all() const {
    const std::lock_guard lock(state_->mutex);
    return state_->failures;
  }

  [[nodiscard]] std::vector<RedisCacheError::Reason> reasons() const {
    std::vector<RedisCacheError::Reason> reasons;
    for (const RedisCacheFailure& failure : all()) reasons.push_back(failure.error.reason);
    return reasons;
  }

 private:
  struct State {
    std::mutex mutex;
    std::vector<RedisCacheFailure> failures;
  };

  const std::shared_ptr<State> state_ = std::make_shared<State>();
};

/// A test with a Redis of its own, whose cache's clock it sets.
class RedisFixture : public testing::Test {
 protected:
  using Reason = RedisCacheError::Reason;

  /// What a test changes as it likes: no call is given up for the machine's sake, and none is put off.
  [[nodiscard]] RedisCache::Options options() {
    RedisCache::Options options;
    options.clock = clock.function();
    options.timeout = longTimeout;
    options.firstPause = options.longestPause = std::chrono::milliseconds(0);
    options.observer = told.observer();
    return options;
  }

  [[nodiscard]] std::shared_ptr<RedisCache> open(RedisCache::Options options) const {
    return RedisCache::open(server.address(), std::move(options)).value();
  }
  [[nodiscard]] std::shared_ptr<RedisCache> open() { return open(options()); }

  [[nodiscard]] RedisStore::Setting setting() {
    return {.address = *RedisAddress::parsed(server.address()),
            .keys = {"{test}:"},
            .user = "",
            .password = "",
            .caFile = std::nullopt,
            .timeout = longTimeout,
            .pause = ReconnectPause(std::chrono::milliseconds(0), std::chrono::milliseconds(0)),
            .clock = clock.function(),
            .observer = told.observer()};
  }

  ManualClock clock;
  ToldFailures told;
  RedisServer server;
};

}  // namespace vellora::hostkit::tests
