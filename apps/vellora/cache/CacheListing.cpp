#include "apps/vellora/cache/CacheListing.h"

#include <algorithm>
#include <cmath>
#include <string_view>
#include <utility>

#include "vellora/DataServices/FetchTime.h"
#include "vellora/DataServices/TimestampedTable.h"

namespace vellora::command {

namespace {

using hostkit::SQLiteCacheContents;
using State = CacheListing::State;

State stateAt(double age, double cacheTimeout) {
  // A moment in the future is as wrong as one long ago; one that is no number counts as no age at all.
  return std::abs(age) > cacheTimeout ? State::expired : State::fresh;
}

CacheListing listingOf(const SQLiteCacheContents::Blob& blob, Date present, double cacheTimeout) {
  CacheListing listing;
  listing.entry = blob.key;
  listing.key = blob.key;
  listing.data = blob.data;
  if (!blob.data) {
    listing.state = State::damaged;
    return listing;
  }
  listing.bytes = blob.data->size();
  if (const auto fetched = fetchTime(blob.key, *blob.data)) {
    listing.ageSeconds = present.secondsSince(*fetched);
    listing.state = stateAt(*listing.ageSeconds, cacheTimeout);
  }
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

/// The blob that says when the list that the row is of was fetched; absent for a row of a single item.
std::optional<std::string_view> fetchTimeKeyOf(const CorvaneSDK::Row& row) {
  const auto kind = row.meta.find(std::string(TimestampedTable::cacheEntryType));
  return kind == row.meta.end() ? std::nullopt : fetchTimeKeyForRowsOf(kind->second);
}

std::optional<Date> fetchTimeUnder(std::string_view key, const SQLiteCacheContents& contents) {
  const auto stamp = std::find_if(contents.blobs.begin(), contents.blobs.end(),
                                  [key](const auto& blob) { return blob.key == key; });
  const bool readable = stamp != contents.blobs.end() && stamp->data;
  return readable ? fetchTime(key, *stamp->data) : std::nullopt;
}

CacheListing listingOf(const SQLiteCacheContents::Table& table, const SQLiteCacheContents::Row& row,
                       const SQLiteCacheContents& contents, Date present, double cacheTimeout) {
  CacheListing listing;
  listing.kind = CacheListing::Kind::row;
  listing.entry = entryName(table.key, row.row);
  listing.tableKey = table.key;
  listing.key = row.row.dataKey;
  listing.data = row.data;
  if (!row.data) {
    listing.state = State::damaged;
    return listing;
  }
  listing.bytes = row.data->size();
  listing.ageSeconds = present.secondsSince(row.written);
  if (const auto key = fetchTimeKeyOf(row.row)) {
    const auto fetched = fetchTimeUnder(*key, contents);
    if (fetched) listing.ageSeconds = present.secondsSince(*fetched);
    listing.state = fetched ? stateAt(*listing.ageSeconds, cacheTimeout) : State::expired;
  }
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
