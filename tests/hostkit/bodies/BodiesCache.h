#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "hostkit/cache/memory/MemoryCache.h"
#include "vellora/DataServices/SObjectsCache.h"
#include "vellora/Host/CacheTable.h"
#include "vellora/Host/Query.h"
#include "vellora/Host/Table.h"
#include "vellora/Platform/Values/Data.h"

namespace vellora::hostkit {

/// A cache in memory that the library has used, as far as kept bodies are concerned.
struct BodiesCache {
  BodiesCache()
      : cache(std::make_shared<MemoryCache>()),
        table(cache->createTable(CorvaneSDK::Table::emptyWithKey(std::string(SObjectsCache::tableKey),
                                                                 CorvaneSDK::Table::MaxAge::sevenDays))) {}

  const std::shared_ptr<MemoryCache> cache;
  const std::shared_ptr<CorvaneSDK::CacheTable> table;

  /// How many rows of that kind there are.
  [[nodiscard]] std::size_t rowsOf(std::string_view kind) const {
    return table->fetch(CorvaneSDK::Query::exact(ofKind(kind))).size();
  }

  /// Deletes what `Catalog::forget` deletes of the table.
  void forget() const { table->purge(CorvaneSDK::metaEquals({})); }

  /// Puts `bytes` into the place of what is stored of the one body.
  void replaceStoredBody(const Data& bytes, std::string_view kind) const {
    const auto row = table->fetch(CorvaneSDK::Query::exact(ofKind(kind))).at(0);
    table->upsert({bytes, row.meta, row.dataKey});
  }

  [[nodiscard]] static CorvaneSDK::RowFilter ofKind(std::string_view kind) {
    return CorvaneSDK::metaEquals({{"cacheEntryType", std::string(kind)}});
  }
};

}  // namespace vellora::hostkit
