#include "apps/vellora/cache/CacheListing.h"

#include <algorithm>
#include <cmath>
#include <string_view>

#include "apps/vellora/cache/EntryText.h"
#include "vellora/DataServices/CacheInspection.h"
#include "vellora/Host/Row.h"

namespace vellora::command {

namespace {

using hostkit::SQLiteCacheContents;
using State = CacheListing::State;

/// Says what the data services make of an entry that they judge by its age.
void judge(CacheListing& listing, const CacheFreshness& freshness, Date present) {
  listing.state = freshness.fresh ? State::fresh : State::expired;
  const bool isMoment = freshness.fetched && std::isfinite(freshness.fetched->secondsSince1970());
  if (!isMoment) return;
  listing.fetched = freshness.fetched;
  listing.ageSeconds = present.secondsSince(*freshness.fetched);
}

CacheListing listingOf(const SQLiteCacheContents::Blob& blob, Date present, double cacheTimeout) {
  CacheListing listing;
  listing.entry = asText(blob.key);
  listing.key = blob.key;
  listing.data = blob.data;
  if (!blob.data) {
    listing.state = State::damaged;
    return listing;
  }
  listing.bytes = blob.data->size();
  if (const auto freshness = blobFreshness(blob.key, *blob.data, cacheTimeout))
    judge(listing, *freshness, present);
  return listing;
}

std::string entryName(const std::string& tableKey, const CorvaneSDK::Row& row) {
  std::string name = tableKey;
  const char* separator = "/";
  for (const auto& [key, value] : row.meta) {
    name.append(separator).append(key).append("=").append(value);
    separator = ",";
  }
  return row.meta.empty() ? name + "/" + row.dataKey : name;
}

std::optional<Data> blobUnder(std::string_view key, const SQLiteCacheContents& contents) {
  const auto found = std::find_if(contents.blobs.begin(), contents.blobs.end(),
                                  [key](const auto& blob) { return blob.key == key; });
  return found == contents.blobs.end() ? std::nullopt : found->data;
}

CacheListing listingOf(const SQLiteCacheContents::Table& table, const SQLiteCacheContents::Row& row,
                       const SQLiteCacheContents& contents, Date present, double cacheTimeout) {
  CacheListing listing;
  listing.kind = CacheListing::Kind::row;
  listing.entry = asText(entryName(table.key, row.row));
  listing.tableKey = table.key;
  listing.key = row.row.dataKey;
  listing.data = row.data;
  if (!row.data) {
    listing.state = State::damaged;
    return listing;
  }
  listing.bytes = row.data->size();
  listing.ageSeconds = present.secondsSince(row.written);
  const auto loadBlob = [&contents](std::string_view key) { return blobUnder(key, contents); };
  if (const auto freshness = rowFreshness(row.row.meta, loadBlob, cacheTimeout))
    judge(listing, *freshness, present);
  if (row.outdated) listing.state = State::outdated;
  return listing;
}

}  // namespace

std::string nameOf(State state) {
  switch (state) {
    case State::fresh:
      return "fresh";
    case State::expired:
      return "expired";
    case State::kept:
      return "kept";
    case State::outdated:
      return "outdated";
    case State::damaged:
      break;
  }
  return "damaged";
}

std::vector<CacheListing> listingsOf(const SQLiteCacheContents& contents, Date present, double cacheTimeout) {
  std::vector<CacheListing> listings;
  for (const auto& blob : contents.blobs) listings.push_back(listingOf(blob, present, cacheTimeout));
  for (const auto& table : contents.tables) {
    for (const auto& row : table.rows)
      listings.push_back(listingOf(table, row, contents, present, cacheTimeout));
  }
  return listings;
}

}  // namespace vellora::command
