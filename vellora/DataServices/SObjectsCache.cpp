#include "vellora/DataServices/SObjectsCache.h"

#include <string_view>
#include <utility>

#include "vellora/DataServices/FetchTime.h"
#include "vellora/DataServices/SObjectsDataService.h"

namespace vellora {

using CorvaneSDK::Meta;

namespace {

using Constants = SObjectsDataService::Constants;
using CacheEntryType = SObjectsDataService::CacheEntryType;

static_assert(Constants::cacheEntryType == TimestampedTable::cacheEntryType);

Meta metaOf(CacheEntryType type) {
  return TimestampedTable::kindMeta(rawValue(type));
}

Meta metaOf(CacheEntryType type, std::string_view key, const std::string& value) {
  return TimestampedTable::itemMeta(rawValue(type), key, value);
}

}  // namespace

SObjectsCache::SObjectsCache(std::shared_ptr<CorvaneSDK::Cache> cache,
                             std::shared_ptr<CorvaneSDK::Logger> logger, double cacheTimeout)
    : table_(std::move(cache), std::move(logger), cacheTimeout,
             {std::string(tableKey), std::string(sObjectsFetchTimeKey),
              std::string(rawValue(CacheEntryType::sObjects))}) {}

std::shared_ptr<const NamedList<SObject>> SObjectsCache::cachedSObjects() const {
  return table_.read(list_, NamedList<SObject>::decode, metaOf(CacheEntryType::sObjects), "cachedSObjects()");
}

std::optional<SObject> SObjectsCache::cachedSObject(const std::optional<std::string>& name) const {
  if (!name) return std::nullopt;
  return table_.read<SObject>(metaOf(CacheEntryType::sObject, Constants::name, *name), "cachedSObject(for:)",
                              {", name: ", *name, ", was retrieved from cache"});
}

std::shared_ptr<const SObjectsCache::NamesByKeyPrefix> SObjectsCache::cachedKeyPrefixes() const {
  return table_.read(keyPrefixes_, json::decode<NamesByKeyPrefix>, metaOf(CacheEntryType::keyPrefixes),
                     "cachedKeyPrefixes()");
}

std::optional<std::string> SObjectsCache::cachedName(const std::string& keyPrefix) const {
  return table_.read<std::string>(metaOf(CacheEntryType::keyPrefix, Constants::keyPrefix, keyPrefix),
                                  "cachedName(for:)",
                                  {", keyPrefix: ", keyPrefix, ", was retrieved from cache"});
}

std::optional<std::string> SObjectsCache::cachedListViewType(const std::string& id) const {
  return table_.read<std::string>(metaOf(CacheEntryType::listView, Constants::id, id),
                                  "cachedListViewType(for:)", {", id: ", id, ", was retrieved from cache"});
}

void SObjectsCache::save(const std::vector<SObject>& sObjects) const {
  if (!table_.write(sObjects, metaOf(CacheEntryType::sObjects), "save(_:)")) return;
  saveKeyPrefixes(sObjects);
  table_.saveFetchTimeStamp();
}

void SObjectsCache::save(const SObject& sObject) const {
  table_.write(sObject, metaOf(CacheEntryType::sObject, Constants::name, sObject.name), "save(_:)",
               {", sObject.name: ", sObject.name});
}

void SObjectsCache::saveKeyPrefixes(const std::vector<SObject>& sObjects) const {
  NamesByKeyPrefix names;
  for (const auto& sObject : sObjects) {
    if (sObject.keyPrefix) names.insert_or_assign(*sObject.keyPrefix, sObject.name);
  }
  table_.write(names, metaOf(CacheEntryType::keyPrefixes), "saveKeyPrefixes(_:)");
}

void SObjectsCache::saveKeyPrefix(const std::string& keyPrefix, const std::string& name) const {
  table_.write(name, metaOf(CacheEntryType::keyPrefix, Constants::keyPrefix, keyPrefix),
               "saveKeyPrefix(_:for:)", {", saved name: ", name, " for keyPrefix: ", keyPrefix});
}

void SObjectsCache::save(const std::optional<std::string>& listViewType, const std::string& id) const {
  table_.write(listViewType, metaOf(CacheEntryType::listView, Constants::id, id), "save(_:for:)",
               {", id: ", id, ", listViewType: ", listViewType.value_or("nil")});
}

void SObjectsCache::enforceCacheCount() const {
  for (const auto type : {CacheEntryType::keyPrefix, CacheEntryType::sObject, CacheEntryType::listView}) {
    table_.enforceCacheCount(rawValue(type));
  }
}

void SObjectsCache::dropSingles() const {
  for (const auto type : {CacheEntryType::keyPrefix, CacheEntryType::sObject}) table_.drop(rawValue(type));
}

void SObjectsCache::dropListViews() const {
  table_.drop(rawValue(CacheEntryType::listView));
}

void SObjectsCache::forget() const {
  table_.forget();
  releaseMemory();
}

void SObjectsCache::releaseMemory() const {
  list_.forget();
  keyPrefixes_.forget();
}

}  // namespace vellora
