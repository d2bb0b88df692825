#include "tests/faults/CacheImage.h"

#include <algorithm>
#include <utility>

#include "hostkit/cache/memory/MemoryCache.h"

namespace vellora::faults {

using CorvaneSDK::CacheEntry;
using CorvaneSDK::Table;

class CacheImage::RecorderTable final : public testkit::ForwardingCacheTable {
 public:
  RecorderTable(std::shared_ptr<CorvaneSDK::CacheTable> next, std::shared_ptr<Written> written,
                std::string key)
      : ForwardingCacheTable(std::move(next)), written_(std::move(written)), key_(std::move(key)) {}

  bool upsert(const CacheEntry& entry) override {
    written_->rowsByTable[key_].insert_or_assign(entry.meta, entry);
    return next().upsert(entry);
  }

 private:
  const std::shared_ptr<Written> written_;
  const std::string key_;
};

class CacheImage::Recorder final : public testkit::ForwardingCache {
 public:
  Recorder(std::shared_ptr<CorvaneSDK::Cache> next, std::shared_ptr<Written> written)
      : ForwardingCache(std::move(next)), written_(std::move(written)) {}

  bool save(const Data& data, const std::string& key) override {
    written_->blobs.insert_or_assign(key, data);
    return next().save(data, key);
  }

 protected:
  std::shared_ptr<CorvaneSDK::CacheTable> wrapTable(std::shared_ptr<CorvaneSDK::CacheTable> table,
                                                    const std::string& key) override {
    written_->rowsByTable[key];  // also a table that stays empty is there
    return std::make_shared<RecorderTable>(std::move(table), written_, key);
  }

 private:
  const std::shared_ptr<Written> written_;
};

namespace {

std::size_t commonLength(const std::string& left, const std::string& right) {
  const auto ends = std::mismatch(left.begin(), left.end(), right.begin(), right.end());
  return static_cast<std::size_t>(ends.first - left.begin());
}

}  // namespace

std::shared_ptr<CorvaneSDK::Cache> CacheImage::recorder() {
  return std::make_shared<Recorder>(std::make_shared<hostkit::MemoryCache>(), written_);
}

std::shared_ptr<CorvaneSDK::Cache> CacheImage::copy() const {
  const auto cache = std::make_shared<hostkit::MemoryCache>();
  for (const auto& [key, data] : written_->blobs) cache->save(data, key);
  for (const auto& [key, rows] : written_->rowsByTable) {
    const auto table = cache->createTable(Table::emptyWithKey(key, Table::MaxAge::sevenDays));
    for (const auto& [meta, entry] : rows) table->upsert(entry);
  }
  return cache;
}

std::optional<Data> CacheImage::anothers(const testkit::HostCall& call) const {
  std::map<std::string, Data> records;
  if (call.operation == testkit::HostCall::Operation::load) {
    records = written_->blobs;
  } else {
    for (const auto& [key, rows] : written_->rowsByTable) {
      for (const auto& [meta, entry] : rows) {
        records.insert_or_assign(testkit::HostCall{call.operation, key, meta}.target(), entry.data);
      }
    }
  }
  const std::string target = call.target();
  records.erase(target);
  const auto likest =
      std::max_element(records.begin(), records.end(), [&](const auto& left, const auto& right) {
        return commonLength(left.first, target) < commonLength(right.first, target);
      });
  return likest == records.end() ? std::nullopt : std::optional(likest->second);
}

}  // namespace vellora::faults
