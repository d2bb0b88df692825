#include "tests/simulation/SimulatedHost.h"

#include <utility>

#include "vellora/Host/CacheTable.h"

namespace vellora::simulation {

namespace {

class HostNetwork final : public CorvaneSDK::Network {
 public:
  explicit HostNetwork(World& world) : world_(world) {}
  void sendRequest(const CorvaneSDK::NetRequest& request, Completion completion) override {
    world_.send(request, std::move(completion));
  }

 private:
  World& world_;
};

class HostTable final : public CorvaneSDK::CacheTable {
 public:
  HostTable(SimulatedCache& cache, std::string key) : cache_(cache), key_(std::move(key)) {}
  std::vector<Data> load(const CorvaneSDK::Query& query) override { return cache_.loadRows(key_, query); }
  std::vector<CorvaneSDK::Row> fetch(const CorvaneSDK::Query& query) override {
    return cache_.fetchRows(key_, query);
  }
  bool purge(const CorvaneSDK::RowFilter& filter) override { return cache_.purge(key_, filter); }
  bool upsert(const CorvaneSDK::CacheEntry& entry) override { return cache_.upsert(key_, entry); }

 private:
  SimulatedCache& cache_;
  const std::string key_;
};

class HostCache final : public CorvaneSDK::Cache {
 public:
  explicit HostCache(SimulatedCache& cache) : cache_(cache) {}
  std::optional<Data> load(const std::string& key) override { return cache_.load(key); }
  bool save(const Data& data, const std::string& key) override { return cache_.save(data, key); }
  bool remove(const std::string& key) override { return cache_.remove(key); }
  std::shared_ptr<CorvaneSDK::CacheTable> openTable(const std::string& key) override {
    return cache_.hasTable(key) ? std::make_shared<HostTable>(cache_, key) : nullptr;
  }
  std::shared_ptr<CorvaneSDK::CacheTable> createTable(const CorvaneSDK::Table& table) override {
    cache_.createTable(table.key());
    return openTable(table.key());
  }

 private:
  SimulatedCache& cache_;
};

class HostLogger final : public CorvaneSDK::Logger {
 public:
  HostLogger(World& world, SimulatedHost::OnLog onLog) : world_(world), onLog_(std::move(onLog)) {}
  void log(std::string_view message, CorvaneSDK::LogLevel) override {
    if (world_.traced()) world_.trace("  log " + std::string(message));
    if (onLog_) onLog_(message);
  }

 private:
  World& world_;
  const SimulatedHost::OnLog onLog_;
};

}  // namespace

SimulatedHost::SimulatedHost(World& world, SimulatedCache& cache, OnLog onLog)
    : api_{std::make_shared<HostNetwork>(world), std::make_shared<HostCache>(cache),
           std::make_shared<HostLogger>(world, std::move(onLog))} {}

bool SimulatedHost::isInUse() const {
  return api_.network.use_count() > 1 || api_.cache.use_count() > 1 || api_.logger.use_count() > 1;
}

}  // namespace vellora::simulation
