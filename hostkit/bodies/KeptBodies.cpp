#include "hostkit/bodies/KeptBodies.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "hostkit/cache/rows/HexDigits.h"
#include "hostkit/cache/rows/KeyedDigest.h"
#include "vellora/DataServices/SObjectsCache.h"
#include "vellora/DataServices/SObjectsDataService.h"
#include "vellora/Host/CacheEntry.h"
#include "vellora/Host/Query.h"
#include "vellora/Platform/Text/AsciiCase.h"

namespace vellora::hostkit {

namespace {

using CorvaneSDK::CacheTable;
using CorvaneSDK::dataKeyEquals;
using CorvaneSDK::Meta;
using CorvaneSDK::metaEquals;
using CorvaneSDK::Query;

constexpr const char* requestOf = "request";
constexpr const char* bytesOf = "bytes";
constexpr std::size_t costOfARow = 512;  // bytes beside the body: meta, keys, the cache's own
constexpr std::size_t mostOfAll = 4;     // a body may take the fourth part of what is kept

Meta kindMeta(std::string_view kind) {
  return {{std::string(SObjectsDataService::Constants::cacheEntryType), std::string(kind)}};
}

Meta metaOf(const std::string& request, std::size_t bytes) {
  Meta meta = kindMeta(KeptBodies::bodyKind);
  meta.emplace(requestOf, request);
  meta.emplace(bytesOf, std::to_string(bytes));
  return meta;
}

std::string dataKeyOf(const std::string& request) {
  return std::string(KeptBodies::bodyKind) + ':' + request;
}

/// Empty when there is none.
std::string digestKeyIn(CacheTable& table) {
  const auto rows = table.load(Query::exact(metaEquals(kindMeta(KeptBodies::keyKind))));
  const bool isKey = !rows.empty() && rows.front().size() == keySize;
  return isKey ? std::string(rows.front().view()) : std::string();
}

/// A new key. No body that was kept before can be found any more.
std::string beginAnew(CacheTable& table) {
  table.purge(metaEquals(kindMeta(KeptBodies::bodyKind)));
  std::string key = randomKey();
  const std::string kind(KeptBodies::keyKind);
  if (!key.empty() && !table.upsert({Data(key), kindMeta(kind), kind})) key.clear();
  return key;
}

/// Texts one behind the other, each with its length, so that none can pass for a part of another.
void append(std::string& all, std::string_view text) {
  all.append(std::to_string(text.size())).append(":").append(text);
}

bool isCredential(std::string_view line) {
  constexpr std::string_view name = "authorization:";
  return equalIgnoringAsciiCase(line.substr(0, name.size()), name);
}

/// The rows of all bodies, those that were kept first at the front.
std::vector<CorvaneSDK::Row> allBodies(CacheTable& table) {
  return table.fetch(Query::oldest({}, metaEquals(kindMeta(KeptBodies::bodyKind))));
}

std::size_t costOf(const CorvaneSDK::Row& row) {
  std::size_t bytes = 0;
  if (const auto found = row.meta.find(bytesOf); found != row.meta.end()) {
    std::from_chars(found->second.data(), found->second.data() + found->second.size(), bytes);
  }
  return bytes + costOfARow;
}

std::size_t costOfAll(const std::vector<CorvaneSDK::Row>& rows) {
  std::size_t bytes = 0;
  for (const auto& row : rows) bytes += costOf(row);
  return bytes;
}

}  // namespace

KeptBodies::KeptBodies(std::shared_ptr<CorvaneSDK::Cache> cache, Options options)
    : cache_(std::move(cache)), options_(std::move(options)) {}

std::shared_ptr<CacheTable> KeptBodies::table() const {
  return CacheTable::open(*cache_, std::string(SObjectsCache::tableKey));
}

std::string KeptBodies::digestKey() const {
  const auto rows = table();
  if (!rows) return {};
  if (std::string key = digestKeyIn(*rows); !key.empty()) return key;
  const std::lock_guard lock(making_);
  std::string key = digestKeyIn(*rows);
  return key.empty() ? beginAnew(*rows) : key;
}

std::size_t KeptBodies::mostOfOne() const noexcept {
  const std::size_t most = options_.maxBytes / mostOfAll;
  return most - std::min(most, costOfARow);
}

std::optional<KeptBodies::Place> KeptBodies::placeOf(const std::string& asked, const std::string& url,
                                                     const std::vector<std::string>& headerLines) {
  const auto rows = table();
  if (!rows || asked.empty() || asked != digestKeyIn(*rows)) return std::nullopt;
  const std::string digest = keyedDigest(asked, nameOf(url, headerLines));
  if (digest.empty()) return std::nullopt;
  return Place{asked, hexDigits(digest)};
}

std::string KeptBodies::nameOf(const std::string& url, const std::vector<std::string>& headerLines) const {
  std::string name;
  append(name, options_.user ? "of a user" : "of a token");
  append(name, options_.user.value_or(""));
  append(name, url);
  for (const std::string& line : headerLines) {
    if (!options_.user || !isCredential(line)) append(name, line);
  }
  return name;
}

std::optional<KeptBody> KeptBodies::load(const Place& place) {
  const auto rows = table();
  if (!rows) return std::nullopt;
  Meta wanted = kindMeta(bodyKind);
  wanted.emplace(requestOf, place.request);
  const auto found = rows->load(Query::exact(metaEquals(std::move(wanted))));
  if (found.empty()) return std::nullopt;
  auto kept = keptBodyIn(found.front(), place.request);
  if (!kept) rows->purge(dataKeyEquals(dataKeyOf(place.request)));
  return kept;
}

bool KeptBodies::save(const Place& place, const KeptBody& kept) {
  const Data stored = kept.body.size() > mostOfOne() ? Data() : storedForm(kept, place.request);
  const bool fits = !stored.empty() && stored.size() <= mostOfOne();
  const auto rows = table();
  if (!rows || !fits || digestKeyIn(*rows) != place.digestKey) {
    remove(place);
    return false;
  }
  // Before this one is there: a cache may read the bodies themselves to give their rows.
  if (!kept_) kept_ = costOfAll(allBodies(*rows));
  if (!rows->upsert({stored, metaOf(place.request, stored.size()), dataKeyOf(place.request)})) return false;
  if (digestKeyIn(*rows) != place.digestKey) {  // forgotten meanwhile
    remove(place);
    return false;
  }
  *kept_ += stored.size() + costOfARow;
  if (kept_ > options_.maxBytes) trim(*rows, options_.maxBytes);
  return true;
}

void KeptBodies::remove(const Place& place) {
  if (const auto rows = table()) rows->purge(dataKeyEquals(dataKeyOf(place.request)));
}

bool KeptBodies::isOwn(const Meta& meta) {
  const auto kind = meta.find(std::string(SObjectsDataService::Constants::cacheEntryType));
  return kind != meta.end() && (kind->second == bodyKind || kind->second == keyKind);
}

// Leaves room for some more, so that not every further body makes all of them be counted.
void KeptBodies::trim(CacheTable& table, std::size_t atMost) {
  const auto rows = allBodies(table);
  kept_ = costOfAll(rows);
  if (*kept_ <= atMost) return;
  for (auto oldest = rows.begin(); oldest != rows.end() && *kept_ > atMost - atMost / mostOfAll; ++oldest) {
    if (!table.purge(dataKeyEquals(oldest->dataKey))) break;
    *kept_ -= costOf(*oldest);
  }
}

}  // namespace vellora::hostkit
