#include "tests/simulation/releases/Facilities.h"

#include <optional>
#include <string_view>
#include <vector>

#include "hostkit/cache/memory/MemoryCache.h"
#include "testkit/ForwardingCache.h"
#include "testkit/ForwardingCacheTable.h"
#include "tests/simulation/SimulatedServer.h"
#include "tests/support/PassingError.h"

namespace vellora::releases {

namespace {

class ToldTable final : public testkit::ForwardingCacheTable {
 public:
  ToldTable(std::shared_ptr<CorvaneSDK::CacheTable> next, OnCall onCall)
      : ForwardingCacheTable(std::move(next)), onCall_(std::move(onCall)) {}

  std::vector<Data> load(const CorvaneSDK::Query& query) override {
    onCall_("load rows");
    return next().load(query);
  }
  std::vector<CorvaneSDK::Row> fetch(const CorvaneSDK::Query& query) override {
    onCall_("fetch rows");
    return next().fetch(query);
  }
  bool purge(const CorvaneSDK::RowFilter& filter) override {
    onCall_("purge rows");
    return next().purge(filter);
  }
  bool upsert(const CorvaneSDK::CacheEntry& entry) override {
    onCall_("upsert a row");
    return next().upsert(entry);
  }

 private:
  const OnCall onCall_;
};

class ToldCache final : public testkit::ForwardingCache {
 public:
  explicit ToldCache(OnCall onCall)
      : ForwardingCache(std::make_shared<hostkit::MemoryCache>()), onCall_(std::move(onCall)) {}

  std::optional<Data> load(const std::string& key) override {
    onCall_("load " + key);
    return next().load(key);
  }
  bool save(const Data& data, const std::string& key) override {
    onCall_("save " + key);
    return next().save(data, key);
  }
  bool remove(const std::string& key) override {
    onCall_("remove " + key);
    return next().remove(key);
  }

 protected:
  std::shared_ptr<CorvaneSDK::CacheTable> wrapTable(std::shared_ptr<CorvaneSDK::CacheTable> table,
                                                    const std::string&) override {
    return std::make_shared<ToldTable>(std::move(table), onCall_);
  }

 private:
  const OnCall onCall_;
};

class ToldLogger final : public CorvaneSDK::Logger {
 public:
  explicit ToldLogger(OnCall onCall) : onCall_(std::move(onCall)) {}
  void log(std::string_view message, CorvaneSDK::LogLevel) override {
    onCall_("log " + std::string(message));
  }

 private:
  const OnCall onCall_;
};

}  // namespace

void HeldNetwork::sendRequest(const CorvaneSDK::NetRequest& request, Completion completion) {
  Pending pending{request.base().url.absoluteString(), std::move(completion)};
  onCall_("send " + pending.url);
  if (wire_ == Wire::atOnce) return answer(pending);
  pending_.push_back(std::move(pending));
}

bool HeldNetwork::answerOne() {
  if (pending_.empty() || wire_ == Wire::silent) return false;
  if (wire_ == Wire::newestFirst) {
    const Pending newest = std::move(pending_.back());
    pending_.pop_back();
    answer(newest);
  } else {
    const Pending oldest = std::move(pending_.front());
    pending_.pop_front();
    answer(oldest);
  }
  return true;
}

void HeldNetwork::failAll() {
  while (!pending_.empty()) {
    const Pending pending = std::move(pending_.front());
    pending_.pop_front();
    pending.completion(std::nullopt, Error(tests::PassingError{"the network has gone"}), std::nullopt);
  }
}

void HeldNetwork::answer(const Pending& pending) const {
  using simulation::SimulatedServer;
  if (wire_ == Wire::failing) {
    return pending.completion(std::nullopt, Error(tests::PassingError{"line down"}), std::nullopt);
  }
  const auto endpoint = SimulatedServer::endpointOf(pending.url);
  const Data body(SimulatedServer::body(*endpoint, pending.url, 1));
  pending.completion(body, std::nullopt, std::nullopt);
}

std::shared_ptr<CorvaneSDK::Cache> makeToldCache(OnCall onCall) {
  return std::make_shared<ToldCache>(std::move(onCall));
}

std::shared_ptr<CorvaneSDK::Logger> makeToldLogger(OnCall onCall) {
  return std::make_shared<ToldLogger>(std::move(onCall));
}

}  // namespace vellora::releases
