#include "vellora/DataServices/TimestampedTable.h"

#include <vector>

#include "vellora/DataServices/FetchTime.h"
#include "vellora/Platform/Json/Description.h"
#include "vellora/Platform/Values/Date.h"

namespace vellora {

using CorvaneSDK::CacheTable;
using CorvaneSDK::LogLevel;
using CorvaneSDK::Meta;
using CorvaneSDK::metaEquals;
using CorvaneSDK::Query;
using CorvaneSDK::Row;

namespace {

/// Stands in where a host breaks its promise and creates no table: the library then works without a cache.
class NoTable final : public CacheTable {
 public:
  std::vector<Data> load(const Query&) override { return {}; }
  std::vector<Row> fetch(const Query&) override { return {}; }
  bool purge(const CorvaneSDK::RowFilter&) override { return false; }
  bool upsert(const CorvaneSDK::CacheEntry&) override { return false; }
};

std::shared_ptr<CacheTable> openOrCreate(CorvaneSDK::Cache& cache, const std::string& key) {
  if (auto table = CacheTable::open(cache, key)) return table;
  using CorvaneSDK::Table;
  if (auto table = CacheTable::create(cache, Table::emptyWithKey(key, Table::MaxAge::sevenDays)))
    return table;
  return std::make_shared<NoTable>();
}

}  // namespace

TimestampedTable::TimestampedTable(std::shared_ptr<CorvaneSDK::Cache> cache,
                                   std::shared_ptr<CorvaneSDK::Logger> logger, double cacheTimeout,
                                   Names names)
    : cache_(std::move(cache)),
      logger_(std::move(logger)),
      cacheTimeout_(cacheTimeout),
      names_(std::move(names)),
      cacheTable_(openOrCreate(*cache_, names_.tableKey)) {}

ListState TimestampedTable::listState() const {
  if (isCacheEmpty()) return {CacheState::empty, std::nullopt};
  const auto blob = cache_->load(names_.timeStampKey);
  const auto stored = blob ? secondsInFetchTimeStamp(*blob) : std::nullopt;
  if (!stored) return {CacheState::expired, std::nullopt};
  return {isListExpired(*stored, cacheTimeout_) ? CacheState::expired : CacheState::valid,
          Date::since1970(*stored)};
}

bool TimestampedTable::isCacheEmpty() const {
  return cacheTable_->fetch(Query::exact(metaEquals(kindMeta(names_.listKind)))).empty();
}

void TimestampedTable::saveFetchTimeStamp() const {
  cache_->save(fetchTimeStamp(now().secondsSince1970()), names_.timeStampKey);
}

void TimestampedTable::enforceCacheCount(std::string_view kind) const {
  const auto rows = cacheTable_->fetch(Query::oldest({}, metaEquals(kindMeta(kind))));
  log("enforceCacheCount()", {", cacheEntryType: ", kind, ", rows.count: ", std::to_string(rows.size()),
                              ", maxCount: ", std::to_string(maxCount)});
  for (std::size_t index = 0; index + maxCount < rows.size(); ++index) {
    const Row& surplus = rows[index];
    log("enforceCacheCount(), purging row: ", {describe(surplus.meta)});
    cacheTable_->purge(CorvaneSDK::dataKeyEquals(surplus.dataKey));
  }
}

void TimestampedTable::drop(std::string_view kind) const {
  ++drops_;  // before the rows go, so that who writes one behind this finds out
  cacheTable_->purge(metaEquals(kindMeta(kind)));
}

void TimestampedTable::forget() const {
  cacheTable_->purge(metaEquals({}));
  cache_->remove(names_.timeStampKey);
}

Meta TimestampedTable::kindMeta(std::string_view kind) {
  Meta meta;
  meta.emplace(cacheEntryType, kind);
  return meta;
}

Meta TimestampedTable::itemMeta(std::string_view kind, std::string_view key, const std::string& value) {
  Meta meta = kindMeta(kind);
  meta.emplace(key, value);
  return meta;
}

void TimestampedTable::log(std::string_view operation, LineParts detail) const {
  logLine(*logger_, LogLevel::info, operation, detail);
}

void TimestampedTable::logError(std::string_view operation, std::string_view failure,
                                const Error& error) const {
  logLine(*logger_, LogLevel::error, operation, {failure, error.localizedDescription()});
}

}  // namespace vellora
