#include "hostkit/cache/CacheArchive.h"

#include <utility>

#include "hostkit/bodies/KeptBodies.h"
#include "hostkit/cache/ArchiveReader.h"
#include "hostkit/cache/ArchiveWriter.h"
#include "hostkit/cache/rows/MetaCodec.h"
#include "vellora/DataServices/FetchTime.h"
#include "vellora/Host/CacheTable.h"

namespace vellora::hostkit {

namespace {

using CorvaneSDK::CacheTable;

CorvaneSDK::Table describe(const CacheArchive::Table& table) {
  using CorvaneSDK::Table;
  return Table::emptyWithKey(table.key, Table::MaxAge::sevenDays);
}

}  // namespace

CacheArchive CacheArchive::of(const SQLiteCacheContents& contents) {
  CacheArchive archive;
  for (const auto& blob : contents.blobs) {
    if (blob.data) archive.blobs.push_back({blob.key, *blob.data});
  }
  for (const auto& table : contents.tables) {
    archive.tables.push_back({table.key, {}});
    for (const auto& [row, date, data, outdated] : table.rows) {
      if (!data || outdated || KeptBodies::isOwn(row.meta)) continue;
      const bool keyedByMeta = row.dataKey == derivedDataKey(row.meta);
      archive.tables.back().rows.push_back(
          {row.meta, keyedByMeta ? std::nullopt : std::optional(row.dataKey), *data});
    }
  }
  return archive;
}

Result<CacheArchive> CacheArchive::decode(const Data& text) {
  return readArchive(text);
}

Result<Data> CacheArchive::encode() const {
  return writtenArchive(*this);
}

CacheArchive CacheArchive::fetchedAt(Date time) const {
  CacheArchive archive = *this;
  for (auto& blob : archive.blobs) {
    if (auto restamped = withFetchTime(blob.key, blob.data, time)) blob.data = *std::move(restamped);
  }
  return archive;
}

std::optional<std::string> CacheArchive::foundIn(CorvaneSDK::Cache& cache) const {
  for (const auto& table : tables) {
    const auto existing = CacheTable::open(cache, table.key);
    if (existing && !existing->fetch(CorvaneSDK::Query::oldest({0, 1})).empty()) return table.key;
  }
  for (const auto& blob : blobs) {
    if (cache.load(blob.key)) return blob.key;
  }
  return std::nullopt;
}

bool CacheArchive::restore(CorvaneSDK::Cache& cache) const {
  bool stored = true;
  for (const auto& table : tables) {
    auto opened = CacheTable::open(cache, table.key);
    if (!opened) opened = CacheTable::create(cache, describe(table));
    for (const auto& row : table.rows) {
      stored = opened && opened->upsert({row.data, row.meta, row.dataKey}) && stored;
    }
  }
  for (const auto& blob : blobs) stored = cache.save(blob.data, blob.key) && stored;
  return stored;
}

}  // namespace vellora::hostkit
