#include "apps/vellora/explore/ObservedCache.h"

#include <utility>

#include "vellora/Host/CacheTable.h"

namespace vellora::explore {
namespace {

using CorvaneSDK::CacheEntry;
using CorvaneSDK::CacheTable;
using CorvaneSDK::Meta;
using CorvaneSDK::Query;
using CorvaneSDK::Row;
using CorvaneSDK::RowFilter;

std::string textOf(const Meta& meta) {
  std::string text;
  for (const auto& [key, value] : meta)
    text.append(text.empty() ? "" : ", ").append(key).append("=").append(value);
  return text;
}

std::string textOf(const std::optional<RowFilter>& filter) {
  const Meta* pairs = filter ? filter->metaPairs() : nullptr;
  return pairs != nullptr ? textOf(*pairs) : "rows";
}

class ObservedTable final : public CacheTable {
 public:
  ObservedTable(std::shared_ptr<CacheTable> next, std::string key, std::shared_ptr<Activity> activity)
      : next_(std::move(next)), key_(std::move(key)), activity_(std::move(activity)) {}

  [[nodiscard]] std::vector<Data> load(const Query& query) override {
    auto rows = next_->load(query);
    noteWhereThereIsMemory([&] {
      std::size_t bytes = 0;
      for (const auto& row : rows) bytes += row.size();
      activity_->noteCache(described(textOf(query.filter())), rows.empty() ? "miss" : "hit", bytes);
    });
    return rows;
  }

  /// Not noted: the library only asks this way whether there are rows, and the user sees nothing of it.
  [[nodiscard]] std::vector<Row> fetch(const Query& query) override { return next_->fetch(query); }

  bool purge(const RowFilter& rowsInFilter) override { return next_->purge(rowsInFilter); }

  bool upsert(const CacheEntry& entry) override {
    noteWhereThereIsMemory(
        [&] { activity_->noteCache(described(textOf(entry.meta)), "saved", entry.data.size()); });
    return next_->upsert(entry);
  }

 private:
  [[nodiscard]] std::string described(const std::string& row) const { return key_ + ": " + row; }

  const std::shared_ptr<CacheTable> next_;
  const std::string key_;
  const std::shared_ptr<Activity> activity_;
};

}  // namespace

ObservedCache::ObservedCache(std::shared_ptr<CorvaneSDK::Cache> next, std::shared_ptr<Activity> activity)
    : next_(std::move(next)), activity_(std::move(activity)) {}

std::optional<Data> ObservedCache::load(const std::string& key) {
  auto blob = next_->load(key);
  noteWhereThereIsMemory([&] { activity_->noteCache(key, blob ? "hit" : "miss", blob ? blob->size() : 0); });
  return blob;
}

bool ObservedCache::save(const Data& data, const std::string& key) {
  noteWhereThereIsMemory([&] { activity_->noteCache(key, "saved", data.size()); });
  return next_->save(data, key);
}

bool ObservedCache::remove(const std::string& key) {
  noteWhereThereIsMemory([&] { activity_->noteCache(key, "removed", 0); });
  return next_->remove(key);
}

std::shared_ptr<CacheTable> ObservedCache::openTable(const std::string& tableKey) {
  auto opened = next_->openTable(tableKey);
  if (!opened) return nullptr;
  return std::make_shared<ObservedTable>(std::move(opened), tableKey, activity_);
}

std::shared_ptr<CacheTable> ObservedCache::createTable(const CorvaneSDK::Table& table) {
  return std::make_shared<ObservedTable>(next_->createTable(table), table.key(), activity_);
}

}  // namespace vellora::explore
