// The hosts of our own, tried as a host author tries theirs.

#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "conformance/CacheConformance.h"
#include "conformance/LoggerConformance.h"
#include "conformance/NetworkConformance.h"
#include "conformance/QueueConformance.h"
#include "hostkit/cache/memory/MemoryCache.h"
#include "hostkit/cache/sqlite/SQLiteCache.h"
#include "hostkit/log/SpdlogLogger.h"
#include "hostkit/network/CoalescingNetwork.h"
#include "hostkit/network/CurlNetwork.h"
#include "testkit/ManualQueue.h"
#include "tests/hostkit/cache/ManualClock.h"
#include "tests/support/TemporaryFolder.h"
#include "vellora/Platform/Queues/SerialDispatchQueue.h"

namespace vellora::conformance::tests {
namespace {

using hostkit::tests::ManualClock;
using vellora::tests::TemporaryFolder;

class MemoryCacheHost final : public CacheHost {
 public:
  std::shared_ptr<CorvaneSDK::Cache> open() override {
    return std::make_shared<hostkit::MemoryCache>(clock_.function());
  }
  bool outlivesTheProcess() const override { return false; }
  bool advanceClock(double seconds) override { return clock_.advance(seconds), true; }

 private:
  ManualClock clock_;
};

class SQLiteCacheHost final : public CacheHost {
 public:
  std::shared_ptr<CorvaneSDK::Cache> open() override {
    hostkit::SQLiteCache::Options options;
    options.clock = clock_.function();
    return hostkit::SQLiteCache::open(folder_.file("cache.sqlite"), options).value();
  }
  bool advanceClock(double seconds) override { return clock_.advance(seconds), true; }

 private:
  ManualClock clock_;
  TemporaryFolder folder_;
};

class CurlNetworkHost final : public NetworkHost {
 public:
  std::shared_ptr<CorvaneSDK::Network> connect(const std::string& serverUrl) override {
    return hostkit::CurlNetwork::make({.server = serverUrl}).value();
  }
};

class CoalescingNetworkHost final : public NetworkHost {
 public:
  std::shared_ptr<CorvaneSDK::Network> connect(const std::string& serverUrl) override {
    return std::make_shared<hostkit::CoalescingNetwork>(CurlNetworkHost().connect(serverUrl));
  }
};

class SpdlogLoggerHost final : public LoggerHost {
 public:
  std::shared_ptr<CorvaneSDK::Logger> logger() override { return logger_; }

  std::vector<std::string> lines() override {
    std::ifstream text(file_);
    std::vector<std::string> all;
    for (std::string line; std::getline(text, line);) all.push_back(line);
    return all;
  }

 private:
  TemporaryFolder folder_;
  const std::string file_ = folder_.file("vellora.log");
  const std::shared_ptr<hostkit::SpdlogLogger> logger_ =
      hostkit::SpdlogLogger::toFile(file_, hostkit::SpdlogLogger::Level::info).value();
};

class SerialQueueHost final : public QueueHost {
 public:
  std::shared_ptr<DispatchQueue> make() override { return std::make_shared<SerialDispatchQueue>("queue"); }
};

class ManualQueueHost final : public QueueHost {
 public:
  std::shared_ptr<DispatchQueue> make() override { return std::make_shared<testkit::ManualQueue>(); }
  void run(DispatchQueue& queue) override { dynamic_cast<testkit::ManualQueue&>(queue).runAll(); }
  bool runsByItself() const override { return false; }
};

const bool areRegistered = [] {
  registerCacheConformance("MemoryCache", [] { return std::make_unique<MemoryCacheHost>(); });
  registerCacheConformance("SQLiteCache", [] { return std::make_unique<SQLiteCacheHost>(); });
  registerNetworkConformance("CurlNetwork", [] { return std::make_unique<CurlNetworkHost>(); });
  registerNetworkConformance("CoalescingNetwork", [] { return std::make_unique<CoalescingNetworkHost>(); });
  registerLoggerConformance("SpdlogLogger", [] { return std::make_unique<SpdlogLoggerHost>(); });
  registerQueueConformance("SerialDispatchQueue", [] { return std::make_unique<SerialQueueHost>(); });
  registerQueueConformance("ManualQueue", [] { return std::make_unique<ManualQueueHost>(); });
  return true;
}();

}  // namespace
}  // namespace vellora::conformance::tests
