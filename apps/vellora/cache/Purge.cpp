#include "apps/vellora/cache/Purge.h"

#include <algorithm>
#include <iterator>

#include "apps/vellora/cache/EntryName.h"
#include "vellora/Host/Cache.h"
#include "vellora/Host/CacheTable.h"
#include "vellora/Host/Query.h"

namespace vellora::command {

namespace {

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

bool remove(CorvaneSDK::Cache& cache, const CacheListing& listing) {
  if (listing.kind == CacheListing::Kind::blob) return cache.remove(listing.key);
  const auto table = cache.openTable(listing.tableKey);
  return table && table->purge(CorvaneSDK::dataKeyEquals(listing.key));
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

std::variant<std::size_t, Problem> purgeEntries(const CacheTarget& target, const std::string& name,
                                                const std::vector<CacheListing>& entries) {
  const auto cache = target.open();
  if (const auto* problem = std::get_if<Problem>(&cache)) return *problem;
  for (const auto& entry : entries) {
    if (remove(*std::get<0>(cache), entry)) continue;
    return target.explained({ExitCode::cacheUnusable, "cannot delete " + entry.entry + " from " + name +
                                                          "; is another program writing to it? Try again"});
  }
  return entries.size();
}

std::variant<std::size_t, Problem> purgeEntries(const std::string& file,
                                                const std::vector<CacheListing>& entries) {
  return purgeEntries(*cacheFileTarget(file), file, entries);
}

std::string deletedText(std::size_t count) {
  return "deleted " + std::to_string(count) + (count == 1 ? " entry" : " entries");
}

}  // namespace vellora::command
