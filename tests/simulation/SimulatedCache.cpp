#include "tests/simulation/SimulatedCache.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "vellora/Platform/Json/Json.h"

namespace vellora::simulation {

namespace {

using Mark = SimulatedServer::Mark;

constexpr std::string_view searchKey = "OPS_Layout_";
constexpr std::string_view compactKey = "OPS_CompactLayout_";
constexpr std::string_view searchNames = "OPS_LayoutNames";
constexpr std::string_view compactNames = "OPS_CompactLayoutNames";
constexpr std::string_view themesStamp = "ops.theme.fetch.timestamp";
constexpr std::string_view sObjectsStamp = "ops.sobject.fetch.timestamp";

std::string valueOf(const CorvaneSDK::Meta& meta, const std::string& key) {
  const auto found = meta.find(key);
  return found == meta.end() ? std::string() : found->second;
}

bool isWhole(const std::optional<Data>& data, const Data& stored) {
  return data && *data == stored;
}

}  // namespace

void SimulatedCache::keep(History& history, const Data& data) const {
  if (history.size() == 2) history.erase(history.begin());
  history.push_back({data, world_.clock.date().secondsSinceReferenceDate()});
}

/// What a read gives of what was stored; half of it counts as nothing for the library, and for the caller of
/// this, which learns of the half by comparing.
std::optional<SimulatedCache::Stored> SimulatedCache::handOut(const History& history) {
  if (history.empty()) return std::nullopt;
  if (!world_.draw.oneIn(world_.hazards.faultyRead)) return history.back();
  switch (world_.draw.below(3)) {
    case 0:
      world_.trace("  (the read gives nothing)");
      return std::nullopt;
    case 1: {
      world_.trace("  (the read gives half)");
      const auto whole = history.back().data.view();
      return Stored{Data(std::string(whole.substr(0, whole.size() / 2))), 0};
    }
    default:
      world_.trace("  (the read gives what was there before)");
      return history.front();
  }
}

std::optional<Data> SimulatedCache::load(const std::string& key) {
  world_.trace("load " + key);
  const auto& history = blobs_[key];
  auto handed = handOut(history);
  const bool whole = handed && std::any_of(history.begin(), history.end(), [&](const Stored& stored) {
                       return isWhole(handed->data, stored.data);
                     });
  const std::optional<Stored> usable = whole ? handed : std::nullopt;
  if (key == themesStamp || key == sObjectsStamp) {
    const double now = world_.clock.date().secondsSinceReferenceDate();
    freshnessReads_.push_back(usable && std::abs(now - usable->savedAt) <= World::timeout);
  } else if (key.starts_with(compactKey)) {
    noteLayout(key.substr(compactKey.size()), Mark::compactMark, usable, key);
  } else if (key.starts_with(searchKey)) {
    noteLayout(key.substr(searchKey.size()), Mark::searchMark, usable, key);
  } else {
    world_.expect(isForCatalog() && (key == searchNames || key == compactNames),
                  "a read of a key that is not the library's: " + key);
  }
  return handed ? std::optional(handed->data) : std::nullopt;
}

void SimulatedCache::noteLayout(const std::string& name, Mark kind, const std::optional<Stored>& handed,
                                const std::string& key) {
  HandedLayout layout{name};
  if (handed) {
    const auto marks = SimulatedServer::marksIn(handed->data.view());
    layout.revision = SimulatedServer::revisionIn(*marks.begin(), name, kind);
    layout.expired = world_.clock.date().secondsSinceReferenceDate() - handed->savedAt > World::timeout;
    world_.cause().handed.insert(marks.begin(), marks.end());
    if (kind == Mark::searchMark && layout.expired && !isForCatalog()) mustBeRemoved_ = key;
  }
  world_.cause().layouts.push_back(std::move(layout));
}

bool SimulatedCache::save(const Data& data, const std::string& key) {
  world_.trace("save " + key);
  checkBlob(data, key);
  if (key == themesStamp || key == sObjectsStamp) --stampsOwed_;
  if (world_.draw.oneIn(world_.hazards.refusedWrite)) return false;
  keep(blobs_[key], data);
  return true;
}

bool SimulatedCache::remove(const std::string& key) {
  world_.trace("remove " + key);
  world_.expect(isForCatalog() || mustBeRemoved_ == key, "a removal that nothing calls for: " + key);
  mustBeRemoved_.reset();
  if (world_.draw.oneIn(world_.hazards.refusedWrite)) return false;
  blobs_.erase(key);
  return true;
}

/// A catalogue leaves an expired search layout where it is when it asks the server first or not at all, and
/// removes blobs when it forgets or refreshes.
bool SimulatedCache::isForCatalog() const {
  return world_.cause().kind == Cause::Kind::catalog;
}

void SimulatedCache::checkSettled() {
  if (mustBeRemoved_) world_.breach("an expired search layout was not removed: " + *mustBeRemoved_);
  world_.expect(stampsOwed_ == 0, "one time stamp follows each list that is written");
  freshnessReads_.clear();
}

std::vector<Data> SimulatedCache::loadRows(const std::string& tableKey, const CorvaneSDK::Query& query) {
  const auto* asked = query.filter() ? query.filter()->metaPairs() : nullptr;
  if (!asked || query.oldestRange()) {
    world_.breach("rows are read by what their meta holds");
    return {};
  }
  world_.trace("load " + tableKey + " " + valueOf(*asked, "cacheEntryType"));
  std::vector<Data> found;
  for (const auto& row : tables_.at(tableKey)) {
    if (!(*query.filter())(row.row)) continue;
    auto handed = handOut(row.history);
    const bool whole =
        handed && std::any_of(row.history.begin(), row.history.end(),
                              [&](const Stored& stored) { return isWhole(handed->data, stored.data); });
    noteRow(*asked, whole ? handed : std::nullopt);
    if (handed) found.push_back(handed->data);
    return found;
  }
  noteRow(*asked, std::nullopt);
  return found;
}

void SimulatedCache::noteRow(const CorvaneSDK::Meta& meta, const std::optional<Stored>& handed) const {
  auto& cause = world_.cause();
  if (handed) cause.handed.merge(SimulatedServer::marksIn(handed->data.view()));
  const auto kind = valueOf(meta, "cacheEntryType");
  if (kind == "keyPrefix") {
    cause.prefixAsked = valueOf(meta, "keyPrefix");
    if (handed) cause.mapped[cause.prefixAsked].push_back(true);
  } else if (kind == "keyPrefixes") {
    const bool known = SimulatedServer::withPrefixOf(cause.prefixAsked) && cause.prefixAsked.size() == 3;
    cause.mapped[cause.prefixAsked].push_back(handed && known);
  }
}

std::vector<CorvaneSDK::Row> SimulatedCache::fetchRows(const std::string& tableKey,
                                                       const CorvaneSDK::Query& query) {
  std::vector<CorvaneSDK::Row> found;
  for (const auto& row : tables_.at(tableKey)) {
    if ((*query.filter())(row.row)) found.push_back(row.row);
  }
  if (query.oldestRange()) return found;  // a purge, which asks for all
  if (world_.draw.oneIn(world_.hazards.faultyRead)) found.clear();
  freshnessReads_.push_back(!found.empty());
  return found;
}

bool SimulatedCache::takeReadsSaidFresh() {
  const auto reads = std::exchange(freshnessReads_, {});
  return reads == std::vector<bool>(4, true);  // two tables, for each its list and its time stamp
}

bool SimulatedCache::purge(const std::string& tableKey, const CorvaneSDK::RowFilter& filter) {
  return std::erase_if(tables_.at(tableKey), [&](const auto& row) { return filter(row.row); }) > 0;
}

bool SimulatedCache::upsert(const std::string& tableKey, const CorvaneSDK::CacheEntry& entry) {
  world_.trace("upsert " + tableKey + " " + valueOf(entry.meta, "cacheEntryType"));
  checkRow(entry);
  if (const auto kind = valueOf(entry.meta, "cacheEntryType"); kind == "themes" || kind == "sObjects") {
    ++stampsOwed_;
  }
  if (world_.draw.oneIn(world_.hazards.refusedWrite)) return false;
  auto& rows = tables_.at(tableKey);
  const auto found =
      std::find_if(rows.begin(), rows.end(), [&](const auto& row) { return row.row.meta == entry.meta; });
  StoredRow stored;
  if (found == rows.end()) {
    stored.row = {entry.meta, std::to_string(++rowsMade_)};
  } else {
    stored = std::move(*found);
    rows.erase(found);
  }
  keep(stored.history, entry.data);
  rows.push_back(std::move(stored));
  return true;
}

/// Every record in what is written was handed to the cause that writes it.
void SimulatedCache::checkMarks(const Data& data, Mark kind, std::string_view onlyName) const {
  const auto marks = SimulatedServer::marksIn(data.view());
  world_.expect(!marks.empty(), "what is written holds a record");
  for (const auto& mark : marks) {
    const auto name = mark.substr(0, mark.find_first_of("#~^@"));
    world_.expect(mark.find(static_cast<char>(kind)) == name.size(), "a record of another kind: " + mark);
    world_.expect(onlyName.empty() || name == onlyName, "a record of another type: " + mark);
    world_.expect(world_.cause().handed.contains(mark), "a record is written that nobody sent: " + mark);
  }
}

void SimulatedCache::checkRow(const CorvaneSDK::CacheEntry& entry) const {
  const auto kind = valueOf(entry.meta, "cacheEntryType");
  const auto name = valueOf(entry.meta, "name");
  world_.expect(!entry.dataKey, "the host keys the rows");
  if (kind == "sObjects") return checkMarks(entry.data, Mark::sObjectMark, "");
  if (kind == "sObject") return checkMarks(entry.data, Mark::sObjectMark, name);
  if (kind == "themes") return checkMarks(entry.data, Mark::themeMark, "");
  if (kind == "theme") return checkMarks(entry.data, Mark::themeMark, name);
  if (kind == "keyPrefixes") {
    return world_.expect(entry.data.view() == SimulatedServer::keyPrefixes(),
                         "the table of prefixes: " + std::string(entry.data.view()));
  }
  if (kind == "keyPrefix") {
    const auto* type = SimulatedServer::withPrefixOf(valueOf(entry.meta, "keyPrefix"));
    return world_.expect(type && entry.data.view() == '"' + type->name + '"', "the type of a prefix");
  }
  if (kind == "listView") {
    const auto* type = SimulatedServer::listedBy(valueOf(entry.meta, "id"));
    return world_.expect(entry.data.view() == (type ? '"' + type->name + '"' : "null"),
                         "what a list view lists");
  }
  world_.breach("a row of an unknown kind: " + kind);
}

void SimulatedCache::checkBlob(const Data& data, const std::string& key) const {
  if (key == themesStamp || key == sObjectsStamp) {
    double seconds = 0;
    world_.expect(data.size() == sizeof seconds, "a time stamp has 8 bytes");
    std::memcpy(&seconds, data.data(), std::min(data.size(), sizeof seconds));
    return world_.expect(seconds == world_.clock.date().secondsSince1970(), "a time stamp says now");
  }
  if (key.starts_with(compactKey)) return checkMarks(data, Mark::compactMark, key.substr(compactKey.size()));
  if (key.starts_with(searchKey)) return checkMarks(data, Mark::searchMark, key.substr(searchKey.size()));
  if (key != searchNames && key != compactNames) world_.breach("a blob under an unknown key: " + key);
  world_.expect(isForCatalog(), "the façade notes no names of layouts");
  world_.expect(json::decode<std::vector<std::string>>(data).hasValue(), "names of layouts are a list");
}

}  // namespace vellora::simulation
