#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "vellora/Host/CacheTable.h"

namespace vellora::testkit {

/// A table that keeps its rows in a list, keyed by their number. Just enough to see what reached it; on one
/// thread only.
class TinyTable final : public CorvaneSDK::CacheTable {
 public:
  std::vector<Data> load(const CorvaneSDK::Query& query) override {
    std::vector<Data> found;
    for (const Stored& stored : rows_) {
      if ((*query.filter())(stored.row)) found.push_back(stored.data);
    }
    return found;
  }

  std::vector<CorvaneSDK::Row> fetch(const CorvaneSDK::Query& query) override {
    std::vector<CorvaneSDK::Row> found;
    for (const Stored& stored : rows_) {
      if ((*query.filter())(stored.row)) found.push_back(stored.row);
    }
    return found;
  }

  bool purge(const CorvaneSDK::RowFilter& rowsInFilter) override {
    std::erase_if(rows_, [&](const Stored& stored) { return rowsInFilter(stored.row); });
    return true;
  }

  bool upsert(const CorvaneSDK::CacheEntry& entry) override {
    rows_.push_back({{entry.meta, std::to_string(rows_.size())}, entry.data});
    return true;
  }

 private:
  struct Stored {
    CorvaneSDK::Row row;
    Data data;
  };

  std::vector<Stored> rows_;
};

/// A cache in two maps; on one thread only.
class TinyCache final : public CorvaneSDK::Cache {
 public:
  std::optional<Data> load(const std::string& key) override {
    const auto found = blobs_.find(key);
    return found == blobs_.end() ? std::nullopt : std::optional(found->second);
  }

  bool save(const Data& data, const std::string& key) override {
    blobs_.insert_or_assign(key, data);
    return true;
  }

  bool remove(const std::string& key) override {
    blobs_.erase(key);
    return true;
  }

  std::shared_ptr<CorvaneSDK::CacheTable> openTable(const std::string& tableKey) override {
    const auto found = tables_.find(tableKey);
    return found == tables_.end() ? nullptr : found->second;
  }

  std::shared_ptr<CorvaneSDK::CacheTable> createTable(const CorvaneSDK::Table& table) override {
    return tables_.try_emplace(table.key(), std::make_shared<TinyTable>()).first->second;
  }

 private:
  std::map<std::string, Data> blobs_;
  std::map<std::string, std::shared_ptr<TinyTable>> tables_;
};

}  // namespace vellora::testkit
