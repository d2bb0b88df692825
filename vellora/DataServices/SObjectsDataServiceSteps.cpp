// The steps of a lookup of one key: what the cache knows, and who is asked for what it lacks.

#include <algorithm>
#include <utility>

#include "vellora/DataServices/FetchedOnce.h"
#include "vellora/DataServices/Looked.h"
#include "vellora/DataServices/NamedList.h"
#include "vellora/DataServices/NotCached.h"
#include "vellora/DataServices/Requester.h"
#include "vellora/DataServices/SObjectsCache.h"
#include "vellora/DataServices/SObjectsTuples.h"
#include "vellora/DataServices/Silence.h"
#include "vellora/Platform/Text/Utf8.h"

namespace vellora {

namespace {

constexpr std::string_view listViewName = "ListView";

std::string keyPrefixOf(std::string_view id) {
  std::size_t length = 0;
  for (int count = 0; count < 3 && length < id.size(); ++count)
    length += firstCharacter(id.substr(length)).length;
  return std::string(id.substr(0, length));
}

std::optional<SObject> firstNamed(const std::vector<SObject>& sObjects,
                                  const std::optional<std::string>& name) {
  const auto found = std::find_if(sObjects.begin(), sObjects.end(),
                                  [&](const auto& sObject) { return sObject.name == name; });
  return found == sObjects.end() ? std::nullopt : std::optional(*found);
}

}  // namespace

Looked<SObjectsDataService::IdTuple> SObjectsDataService::sObjectAsIdTuple(std::string id,
                                                                           const Asking& asking) {
  auto type = sObjectForId(id, asking);
  const auto typeName = name(id, asking);
  if (!typeName || typeName.value() != listViewName) {
    return std::move(type).map([id = std::move(id)](OptionalSObject found) mutable {  // called once
      return IdTuple{std::move(id), std::move(found), std::nullopt};
    });
  }
  return std::move(type)
      .publisher()
      .combineLatest(listViewSObject(id, asking))
      .map([id](std::pair<OptionalSObject, OptionalSObject> both) {
        return IdTuple{id, std::move(both.first), std::move(both.second)};
      });
}

Looked<SObjectsDataService::NameTuple> SObjectsDataService::sObjectAsNameTuple(std::string name,
                                                                               const Asking& asking) {
  auto type = sObjectForName(name, asking);
  return std::move(type).map([name = std::move(name)](OptionalSObject sObject) mutable {  // called once
    return NameTuple{std::move(name), std::move(sObject)};
  });
}

Looked<std::optional<SObject>> SObjectsDataService::sObjectForId(const std::string& id,
                                                                 const Asking& asking) {
  const auto typeName = name(id, asking);
  if (!typeName) return Publisher<OptionalSObject>::fail(typeName.error());
  if (!typeName.value()) return OptionalSObject();
  return sObjectForName(typeName.value(), asking);
}

Looked<std::optional<SObject>> SObjectsDataService::sObjectForName(const std::optional<std::string>& name,
                                                                   const Asking& asking) {
  log("sObjectForName(_:), name: ", {name ? std::string_view(*name) : "null type"});
  if (auto sObject = cache_->cachedSObject(name)) return sObject;
  const auto drops = cache_->drops();
  if (const auto sObjects = cache_->cachedSObjects()) {
    const SObject* sObject = name ? sObjects->firstNamed(*name) : nullptr;
    if (!sObject) return OptionalSObject();
    writeFor(asking.fetching, [&] {
      cache_->save(*sObject);
      dropIfOlder(drops, asking);
    });
    return OptionalSObject(*sObject);
  }
  if (asking.isShared) return sObjectOnServer(name.value_or(std::string()), asking);
  return fetchedSObjects().map([weak = weak_from_this(), name](const std::vector<SObject>& sObjects) {
    auto sObject = firstNamed(sObjects, name);
    const auto self = weak.lock();
    if (sObject && self) self->cache_->save(*sObject);
    return sObject;
  });
}

/// The same for a lookup by key, when the cache has no list.
Publisher<std::optional<SObject>> SObjectsDataService::sObjectOnServer(const std::string& name,
                                                                       const Asking& asking) {
  const auto& fetched = asking.fetched;
  if (auto known = fetched->named(name))
    return *known ? Publisher<OptionalSObject>::just(std::move(*known).value())
                  : Publisher<OptionalSObject>::fail(known->error());
  if (asking.source == Source::cacheOnly) return Publisher<OptionalSObject>::fail(NotCached());
  return sharedSObjects(asking.fetching).results().tryMap([name, fetched](Result<SObjects>&& list) {
    return fetched->noted(std::move(list), name);
  });
}

Publisher<std::optional<SObject>> SObjectsDataService::listViewSObject(const std::string& id,
                                                                       const Asking& asking) {
  if (asking.source != Source::serverFirst) {
    if (const auto type = cache_->cachedListViewType(id)) {
      log("listViewSObject(for:), id: ", {id, ", was retrieved from cache"});
      return sObjectForName(type, asking).publisher();
    }
  }
  return listViewType(id, asking)
      .flatMap([weak = weak_from_this(), asking](const std::optional<std::string>& type) {
        const auto self = weak.lock();
        return self ? self->sObjectForName(type, asking).publisher() : silence<OptionalSObject>();
      });
}

Result<std::optional<std::string>> SObjectsDataService::name(const std::string& id, const Asking& asking) {
  using Name = std::optional<std::string>;
  const std::string keyPrefix = keyPrefixOf(id);
  if (auto name = cache_->cachedName(keyPrefix)) return name;
  const auto drops = cache_->drops();
  const auto names = cache_->cachedKeyPrefixes();
  if (!names) return asking.isShared ? nameInList(keyPrefix) : Name();
  const auto found = names->find(keyPrefix);
  if (found == names->end()) return Name();
  writeFor(asking.fetching, [&] {
    cache_->saveKeyPrefix(keyPrefix, found->second);
    dropIfOlder(drops, asking);
  });
  return Name(found->second);
}

/// As the row of all prefixes would say. Of equal prefixes the last counts there.
Result<std::optional<std::string>> SObjectsDataService::nameInList(const std::string& keyPrefix) const {
  const auto list = cache_->cachedSObjects();
  if (!list) return Error(NotCached());
  const auto& all = list->records();
  const auto found = std::find_if(all.rbegin(), all.rend(),
                                  [&](const SObject& sObject) { return sObject.keyPrefix == keyPrefix; });
  return found == all.rend() ? std::nullopt : std::optional<std::string>(found->name);
}

/// A newer list may have come since `drops` was looked at, and its rows been dropped before this one came.
void SObjectsDataService::dropIfOlder(std::uint64_t drops, const Asking& asking) const {
  if (asking.isShared && cache_->drops() != drops) cache_->dropSingles();
}

/// Drops what lookups took from the list before a lookup of the first kind fetched another.
void SObjectsDataService::dropOldSingles(const Fetching& fetching) {
  if (areSinglesOld_.exchange(false)) writeFor(fetching, [&] { cache_->dropSingles(); });
}

}  // namespace vellora
