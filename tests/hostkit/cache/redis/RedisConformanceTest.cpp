// The cache in a Redis, tried as a host author tries theirs.

#include <gtest/gtest.h>

#include <chrono>
#include <memory>

#include "conformance/CacheConformance.h"
#include "hostkit/cache/redis/RedisCache.h"
#include "tests/hostkit/cache/ManualClock.h"
#include "tests/hostkit/cache/redis/RedisServer.h"

namespace vellora::hostkit::tests {
namespace {

class RedisCacheHost final : public conformance::CacheHost {
 public:
  std::shared_ptr<CorvaneSDK::Cache> open() override {
    RedisCache::Options options;
    options.clock = clock_.function();
    options.timeout = std::chrono::minutes(2);
    return RedisCache::open(server_.address(), options).value();
  }
  bool advanceClock(double seconds) override { return clock_.advance(seconds), true; }

 private:
  ManualClock clock_;
  RedisServer server_;
};

const bool isRegistered = [] {
  conformance::registerCacheConformance("RedisCache", [] { return std::make_unique<RedisCacheHost>(); });
  return true;
}();

}  // namespace
}  // namespace vellora::hostkit::tests
