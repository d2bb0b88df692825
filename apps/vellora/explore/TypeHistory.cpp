#include "apps/vellora/explore/TypeHistory.h"

#include <utility>

#include "vellora/DataServices/CacheInspection.h"

namespace vellora::explore {
namespace {

using Changes = std::map<std::string, std::string>;

std::map<std::string, SObject> byName(const std::vector<SObject>& types) {
  std::map<std::string, SObject> named;
  for (const auto& type : types) named.emplace(type.name, type);
  return named;
}

Changes changesBetween(const std::vector<SObject>& before, const std::vector<SObject>& after) {
  const auto old = byName(before);
  const auto current = byName(after);
  Changes changes;
  for (const auto& [name, type] : old)
    if (!current.contains(name)) changes.emplace(name, "removed");
  for (const auto& [name, type] : current) {
    const auto found = old.find(name);
    if (found == old.end())
      changes.emplace(name, "added");
    else if (found->second != type)
      changes.emplace(name, "changed");
  }
  return changes;
}

std::string wordFor(TypeChange change) {
  switch (change) {
    case TypeChange::added:
      return "added";
    case TypeChange::removed:
      return "removed";
    case TypeChange::changed:
      return "changed";
  }
  return {};
}

}  // namespace

TypeHistory::TypeHistory(std::shared_ptr<CorvaneSDK::Cache> cache)
    : cache_(std::move(cache)), fetched_(fetchedNow()), types_(cachedSObjects(*cache_)) {}

std::optional<Date> TypeHistory::fetchedNow() const {
  // Whether it is fresh doesn't matter here, so neither does the time-out.
  return sObjectsFreshness(*cache_, 0).fetched;
}

void TypeHistory::noteStart() {
  const std::lock_guard lock(mutex_);
  const auto before = std::exchange(fetched_, fetchedNow());
  if (fetched_ == before) return;
  const auto old = std::exchange(types_, cachedSObjects(*cache_));
  if (before) add("start", *before, changesBetween(old, types_));
}

void TypeHistory::noteRefresh(const std::map<std::string, TypeChange>& changes, const Date& since) {
  Changes words;
  for (const auto& [name, change] : changes) words.emplace(name, wordFor(change));
  const std::lock_guard lock(mutex_);
  fetched_ = fetchedNow();
  types_ = cachedSObjects(*cache_);
  add("refresh", since, std::move(words));
}

void TypeHistory::add(const char* by, const Date& since, Changes types) {
  latest_ = {latest_.number + 1, by, since.secondsSince1970(), std::move(types)};
}

TypeChanges TypeHistory::latest() const {
  const std::lock_guard lock(mutex_);
  return latest_;
}

}  // namespace vellora::explore
