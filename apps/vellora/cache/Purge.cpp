#include "apps/vellora/cache/Purge.h"

#include <algorithm>
#include <iterator>

#include "apps/vellora/cache/EntryName.h"
#include "hostkit/cache/sqlite/SQLiteCache.h"
#include "vellora/Host/CacheTable.h"

namespace vellora::command {

namespace {

using hostkit::SQLiteCache;
using State = CacheListing::State;

bool isUseless(const CacheListing& listing) {
  return listing.state == State::expired || listing.state == State::outdated ||
         listing.state == State::damaged;
}

bool isIn(const std::vector<CacheListing>& listings, const CacheListing& one) {
  return std::any_of(listings.begin(), listings.end(), [&one](const auto& other) {
    return other.kind == one.kind && other.tableKey == one.tableKey && other.key == one.key;
  });
}

bool remove(SQLiteCache& cache, const CacheListing& listing) {
  if (listing.kind == CacheListing::Kind::blob) return cache.remove(listing.key);
  const auto table = cache.openTable(listing.tableKey);
  return table && table->purge([&listing](const auto& row) { return row.dataKey == listing.key; });
}

}  // namespace

std::vector<CacheListing> doomed(const std::vector<CacheListing>& listings, const CacheArguments& cache) {
  std::vector<CacheListing> found;
  if (cache.expired) {
    std::copy_if(listings.begin(), listings.end(), std::back_inserter(found), isUseless);
    return found;
  }
  if (cache.all) return listings;
  for (const auto& name : cache.entries) {
    for (const auto& listing : entriesNamed(name, listings)) {
      if (!isIn(found, listing)) found.push_back(listing);
    }
  }
  return found;
}

std::variant<std::size_t, Problem> purgeEntries(const std::string& file,
                                                const std::vector<CacheListing>& entries) {
  const auto cache = SQLiteCache::open(file);
  if (!cache) return Problem{ExitCode::cacheUnusable, cache.error().localizedDescription()};
  for (const auto& entry : entries) {
    if (remove(*cache.value(), entry)) continue;
    return Problem{ExitCode::cacheUnusable, "cannot delete " + entry.entry + " from " + file +
                                                "; is another program writing to it? Try again"};
  }
  return entries.size();
}

std::string deletedText(std::size_t count) {
  return "deleted " + std::to_string(count) + (count == 1 ? " entry" : " entries");
}

}  // namespace vellora::command
