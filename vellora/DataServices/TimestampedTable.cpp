#include "vellora/DataServices/TimestampedTable.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <vector>

#include "vellora/Platform/Date.h"
#include "vellora/Platform/Description.h"

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

// The blob is the number's eight bytes as they lie in the memory of a little-endian machine.
Data bytesOf(double seconds) {
  const auto bits = std::bit_cast<std::uint64_t>(seconds);
  std::array<unsigned char, sizeof bits> bytes{};
  for (std::size_t index = 0; index < bytes.size(); ++index) {
    bytes[index] = static_cast<unsigned char>(bits >> (8 * index));
  }
  return {bytes.data(), bytes.size()};
}

// An empty blob is the beginning of 1970; one that ends within the number says nothing.
std::optional<double> secondsIn(const Data& blob) {
  if (blob.empty()) return 0;
  std::uint64_t bits = 0;
  if (blob.size() < sizeof bits) return std::nullopt;
  for (std::size_t index = 0; index < sizeof bits; ++index) {
    bits |= std::uint64_t{static_cast<unsigned char>(blob.data()[index])} << (8 * index);
  }
  return std::bit_cast<double>(bits);
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

CacheState TimestampedTable::cacheState() const {
  if (isCacheEmpty()) return CacheState::empty;
  return cacheNeedsToBeRefreshed() ? CacheState::expired : CacheState::valid;
}

bool TimestampedTable::isCacheEmpty() const {
  return cacheTable_->fetch(Query::exact(metaEquals(kindMeta(names_.listKind)))).empty();
}

bool TimestampedTable::cacheNeedsToBeRefreshed() const {
  const auto blob = cache_->load(names_.timeStampKey);
  const auto stored = blob ? secondsIn(*blob) : std::nullopt;
  if (!stored) return true;
  // A time stamp far in the future is as wrong as an old one. One that is no number compares false: never
  // stale.
  return std::abs(*stored - now().secondsSince1970()) > cacheTimeout_;
}

void TimestampedTable::saveFetchTimeStamp() const {
  cache_->save(bytesOf(now().secondsSince1970()), names_.timeStampKey);
}

void TimestampedTable::enforceCacheCount(std::string_view kind) const {
  const auto rows = cacheTable_->fetch(Query::oldest({}, metaEquals(kindMeta(kind))));
  log("enforceCacheCount()", ", cacheEntryType: " + std::string(kind) + ", rows.count: " +
                                 std::to_string(rows.size()) + ", maxCount: " + std::to_string(maxCount));
  for (std::size_t index = 0; index + maxCount < rows.size(); ++index) {
    const Row& surplus = rows[index];
    log("enforceCacheCount(), purging row: ", describe(surplus.meta));
    cacheTable_->purge([&surplus](const Row& row) { return row.dataKey == surplus.dataKey; });
  }
}

Meta TimestampedTable::kindMeta(std::string_view kind) {
  return {{std::string(cacheEntryType), std::string(kind)}};
}

void TimestampedTable::log(std::string_view operation, std::string_view detail) const {
  logger_->log(std::string(operation).append(detail), LogLevel::info);
}

void TimestampedTable::logError(std::string_view operation, std::string_view failure,
                                const Error& error) const {
  logger_->log(std::string(operation).append(failure).append(error.localizedDescription()), LogLevel::error);
}

}  // namespace vellora
