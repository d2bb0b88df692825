#pragma once

#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "hostkit/StandardPlatformAPI.h"
#include "hostkit/cache/memory/MemoryCache.h"
#include "testkit/ForwardingCache.h"
#include "testkit/ForwardingCacheTable.h"
#include "testkit/SilentLogger.h"
#include "tests/simulation/SimulatedServer.h"
#include "tests/support/AllocationCounter.h"
#include "tests/support/TestError.h"
#include "vellora/Host/Network.h"

namespace vellora::tests {

/// A host whose own allocations never fail, so that every allocation that fails is the library's. Its network
/// holds each request until it is told to answer.
class MemoryHost {
 public:
  class HeldNetwork final : public CorvaneSDK::Network {
   public:
    void sendRequest(const CorvaneSDK::NetRequest& request, Completion completion) override {
      const AllocationFailure::Pause pause;
      pending_.emplace_back(request.base().url.absoluteString(), std::move(completion));
    }

    /// The next `count` requests that are answered fail.
    void failNext(int count = 1) { toFail_ = count; }

    /// Answers the oldest request. False when there is none.
    bool answerOne() {
      if (pending_.empty()) return false;
      std::optional<AllocationFailure::Pause> pause(std::in_place);
      auto [url, completion] = std::move(pending_.front());
      pending_.pop_front();
      if (toFail_ > 0) {
        --toFail_;
        completion(std::nullopt, TestError{"line down"}, std::nullopt);
        return true;
      }
      const auto endpoint = simulation::SimulatedServer::endpointOf(url);
      const Data body(simulation::SimulatedServer::body(*endpoint, url, 1));
      pause.reset();
      completion(body, std::nullopt, std::nullopt);
      return true;
    }

    /// Forgets all requests: they are never answered.
    void dropAll() { pending_.clear(); }

   private:
    std::deque<std::pair<std::string, Completion>> pending_;
    int toFail_ = 0;
  };

  [[nodiscard]] std::shared_ptr<CorvaneSDK::PlatformAPI> api() const { return api_; }
  [[nodiscard]] HeldNetwork& network() const { return *network_; }

 private:
  class Table final : public testkit::ForwardingCacheTable {
   public:
    using ForwardingCacheTable::ForwardingCacheTable;
    std::vector<Data> load(const CorvaneSDK::Query& query) override {
      const AllocationFailure::Pause pause;
      return next().load(query);
    }
    std::vector<CorvaneSDK::Row> fetch(const CorvaneSDK::Query& query) override {
      const AllocationFailure::Pause pause;
      return next().fetch(query);
    }
    bool purge(const CorvaneSDK::RowFilter& filter) override {
      const AllocationFailure::Pause pause;
      return next().purge(filter);
    }
    bool upsert(const CorvaneSDK::CacheEntry& entry) override {
      const AllocationFailure::Pause pause;
      return next().upsert(entry);
    }
  };

  class Cache final : public testkit::ForwardingCache {
   public:
    using ForwardingCache::ForwardingCache;
    std::optional<Data> load(const std::string& key) override {
      const AllocationFailure::Pause pause;
      return next().load(key);
    }
    bool save(const Data& data, const std::string& key) override {
      const AllocationFailure::Pause pause;
      return next().save(data, key);
    }
    bool remove(const std::string& key) override {
      const AllocationFailure::Pause pause;
      return next().remove(key);
    }
    std::shared_ptr<CorvaneSDK::CacheTable> openTable(const std::string& key) override {
      const AllocationFailure::Pause pause;
      return ForwardingCache::openTable(key);
    }
    std::shared_ptr<CorvaneSDK::CacheTable> createTable(const CorvaneSDK::Table& table) override {
      const AllocationFailure::Pause pause;
      return ForwardingCache::createTable(table);
    }

   protected:
    std::shared_ptr<CorvaneSDK::CacheTable> wrapTable(std::shared_ptr<CorvaneSDK::CacheTable> table,
                                                      const std::string&) override {
      return std::make_shared<Table>(std::move(table));
    }
  };

  const std::shared_ptr<HeldNetwork> network_ = std::make_shared<HeldNetwork>();
  const std::shared_ptr<CorvaneSDK::PlatformAPI> api_ = std::make_shared<hostkit::StandardPlatformAPI>(
      network_, std::make_shared<Cache>(std::make_shared<hostkit::MemoryCache>()),
      std::make_shared<testkit::SilentLogger>());
};

}  // namespace vellora::tests
