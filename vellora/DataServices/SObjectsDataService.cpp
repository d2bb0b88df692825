#include "vellora/DataServices/SObjectsDataService.h"

#include <algorithm>
#include <new>
#include <utility>

#include "vellora/DataServices/NotCached.h"
#include "vellora/DataServices/PartOf.h"
#include "vellora/DataServices/Renewals.h"
#include "vellora/DataServices/Requester.h"
#include "vellora/DataServices/SObjectsCache.h"
#include "vellora/DataServices/Sending.h"
#include "vellora/DataServices/ServerRequest.h"
#include "vellora/DataServices/SharedFetch.h"
#include "vellora/DataServices/Silence.h"
#include "vellora/Models/ListViewObjectRecords.h"
#include "vellora/Models/SObjectsResponse.h"
#include "vellora/Platform/Json/Description.h"
#include "vellora/Platform/Queues/SerialDispatchQueue.h"
#include "vellora/Platform/Text/Utf8.h"

namespace vellora {

using CorvaneSDK::LogLevel;
using CorvaneSDK::NetRequest;

struct SObjectsDataService::IdTuple {
  std::string id;
  OptionalSObject type;
  OptionalSObject instance;
};

struct SObjectsDataService::NameTuple {
  std::string name;
  OptionalSObject sObject;
};

namespace {

constexpr std::string_view listViewName = "ListView";

std::string serverPath(std::string_view resource) {
  return std::string("/services/data/")
      .append(SObjectsDataService::Constants::queryApiVersion)
      .append("/")
      .append(resource);
}

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

std::string nameOrNil(const std::optional<SObject>& sObject) {
  return sObject ? sObject->name : "nil";
}

SObjectsDataServiceError ofRequest(const SObjectsDataServiceError& error, const std::string& url) {
  return error.ofRequest(url, error.payload() ? std::optional(*error.payload()) : std::nullopt);
}

std::optional<std::string> optionalName(const std::optional<SObject>& sObject) {
  return sObject ? std::optional(sObject->name) : std::nullopt;
}

}  // namespace

SObjectsDataService::SObjectsDataService(const RequiredAPI& api, double cacheTimeout)
    : network_(api.network),
      queue_(std::make_shared<SerialDispatchQueue>("SObjectsDataService.queue", DispatchQoS::userInitiated)),
      logger_(api.logger),
      cache_(std::make_unique<SObjectsCache>(api.cache, logger_, cacheTimeout)),
      renewals_(std::make_unique<Renewals>()) {}

SObjectsDataService::~SObjectsDataService() {
  try {
    cache_->enforceCacheCount();
  } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): the rows are left to the next purge
  }
}

CacheState SObjectsDataService::cacheState() const {
  return cache_->cacheState();
}

void SObjectsDataService::loadSObjects(LoadCompletion completion) {
  const auto self = shared_from_this();  // host or completion may drop the last other reference
  log("loadSObjects(completion:), cacheState: " + describe(cacheState()));
  if (cacheState() == CacheState::valid) {
    if (completion) completion(std::nullopt);
    return;
  }
  auto ended = [weak = weak_from_this(), completion = std::move(completion)](const auto& failure) {
    if (failure) {
      if (completion) completion(mapped(*failure, weak));
      return;
    }
    if (const auto service = weak.lock()) service->log("loadSObjects(completion:), fetch completed");
    if (completion) completion(std::nullopt);
  };
  fetchedSObjects().subscribe(queue_).sink(
      subscriptions_, [](const auto&) {}, std::move(ended));
}

Publisher<std::map<std::string, SObjectsDataService::TypeAndInstance>> SObjectsDataService::sObjectsForIds(
    std::vector<std::string> ids) {
  const auto tuples = collected(std::move(ids), &SObjectsDataService::sObjectAsIdTuple);
  return tuples.map([weak = weak_from_this()](std::vector<IdTuple>&& all) {
    std::map<std::string, TypeAndInstance> found;
    for (auto& [id, type, instance] : all) {
      const auto entry =
          found.insert_or_assign(std::move(id), TypeAndInstance{std::move(type), std::move(instance)});
      const TypeAndInstance& both = entry.first->second;
      if (const auto self = weak.lock()) {
        self->log("sObjectsForIds(_:): id: " + entry.first->first + ", (type: " + nameOrNil(both.type) +
                  ", instance: " + nameOrNil(both.instance) + ")");
      }
    }
    return found;
  });
}

Publisher<std::map<std::string, std::optional<SObject>>> SObjectsDataService::sObjectsForNames(
    std::vector<std::string> names) {
  const auto tuples = collected(std::move(names), &SObjectsDataService::sObjectAsNameTuple);
  return tuples.map([weak = weak_from_this()](std::vector<NameTuple>&& all) {
    std::map<std::string, std::optional<SObject>> found;
    for (auto& [name, sObject] : all) {
      const auto entry = found.insert_or_assign(std::move(name), std::move(sObject));
      if (const auto self = weak.lock()) {
        self->log("sObjectsForNames(_:): tuples for each id: " + entry.first->first + ", " +
                  describe(optionalName(entry.first->second)) + ")");
      }
    }
    return found;
  });
}

/// Starts `lookUp` on the queue for each of `keys`, without waiting for the one before, and collects the
/// results in the order of their arrival.
template <class Tuple>
Publisher<std::vector<Tuple>> SObjectsDataService::collected(std::vector<std::string> keys,
                                                             LookUp<Tuple> lookUp) {
  return Publisher<std::string>::sequence(std::move(keys))
      .receive(queue_)
      .flatMap([weak = weak_from_this(), lookUp](std::string key) {
        const auto self = weak.lock();
        return self ? (*self.*lookUp)(std::move(key), {}) : silence<Tuple>();
      })
      .collect();
}

Publisher<SObjectsDataService::IdTuple> SObjectsDataService::sObjectAsIdTuple(std::string id,
                                                                              const Asking& asking) {
  const auto type = sObjectForId(id, asking);
  if (name(id, asking) != listViewName) {
    return type.map([id = std::move(id)](OptionalSObject found) mutable {  // called once
      return IdTuple{std::move(id), std::move(found), std::nullopt};
    });
  }
  return type.combineLatest(listViewSObject(id, asking))
      .map([id](std::pair<OptionalSObject, OptionalSObject> both) {
        return IdTuple{id, std::move(both.first), std::move(both.second)};
      });
}

Publisher<SObjectsDataService::NameTuple> SObjectsDataService::sObjectAsNameTuple(std::string name,
                                                                                  const Asking& asking) {
  const auto type = sObjectForName(name, asking);
  return type.map([name = std::move(name)](OptionalSObject sObject) mutable {  // called once
    return NameTuple{std::move(name), std::move(sObject)};
  });
}

Publisher<std::optional<SObject>> SObjectsDataService::sObjectForId(const std::string& id,
                                                                    const Asking& asking) {
  const auto typeName = name(id, asking);
  return typeName ? sObjectForName(typeName, asking) : Publisher<OptionalSObject>::just(std::nullopt);
}

Publisher<std::optional<SObject>> SObjectsDataService::sObjectForName(const std::optional<std::string>& name,
                                                                      const Asking& asking) {
  log("sObjectForName(_:), name: " + name.value_or("null type"));
  if (auto sObject = cache_->cachedSObject(name)) return Publisher<OptionalSObject>::just(std::move(sObject));
  const auto drops = cache_->drops();
  if (const auto sObjects = cache_->cachedSObjects()) {
    const SObject* sObject = name ? sObjects->firstNamed(*name) : nullptr;
    if (!sObject) return Publisher<OptionalSObject>::just(std::nullopt);
    writeFor(asking.fetching, [&] {
      cache_->save(*sObject);
      dropIfOlder(drops, asking);
    });
    return Publisher<OptionalSObject>::just(*sObject);
  }
  if (asking.source == Source::cacheOnly) return Publisher<OptionalSObject>::fail(NotCached());
  if (asking.isShared) {
    return sharedSObjects(asking.fetching).map([name](const SObjects& sObjects) {
      const SObject* sObject = name ? sObjects->firstNamed(*name) : nullptr;
      return sObject ? OptionalSObject(*sObject) : std::nullopt;
    });
  }
  return fetchedSObjects().map([weak = weak_from_this(), name](const std::vector<SObject>& sObjects) {
    auto sObject = firstNamed(sObjects, name);
    const auto self = weak.lock();
    if (sObject && self) self->cache_->save(*sObject);
    return sObject;
  });
}

Publisher<std::optional<SObject>> SObjectsDataService::listViewSObject(const std::string& id,
                                                                       const Asking& asking) {
  if (asking.source != Source::serverFirst) {
    if (const auto type = cache_->cachedListViewType(id)) {
      log("listViewSObject(for:), id: " + id + ", was retrieved from cache");
      return sObjectForName(type, asking);
    }
  }
  return listViewType(id, asking)
      .flatMap([weak = weak_from_this(), asking](const std::optional<std::string>& type) {
        const auto self = weak.lock();
        return self ? self->sObjectForName(type, asking) : silence<OptionalSObject>();
      });
}

Publisher<std::optional<std::string>> SObjectsDataService::listViewType(const std::string& id,
                                                                        const Asking& asking) {
  if (asking.source == Source::cacheOnly) return Publisher<std::optional<std::string>>::fail(NotCached());
  if (!asking.isShared) return fetchedListViewType(id, {});
  return sharedFetch(listViewTypes_, id, asking.fetching, [weak = weak_from_this(), id](const auto& attempt) {
    const auto self = weak.lock();
    return self ? self->fetchedListViewType(id, attempt) : silence<std::optional<std::string>>();
  });
}

bool SObjectsDataService::knowsKeyPrefixes() const {
  return cache_->cachedKeyPrefixes() || cache_->cachedSObjects();
}

Publisher<std::vector<SObject>> SObjectsDataService::fetchedSObjects(const Fetching& fetching,
                                                                     std::optional<std::uint64_t> renewal) {
  const auto request = serverRequest(serverPath("sobjects"));
  if (!request) return Publisher<std::vector<SObject>>::fail(SObjectsDataServiceError::invalidUrl());
  return fetched<SObjectsResponse>(*request, fetching)
      .map([weak = weak_from_this(), fetching, renewal](SObjectsResponse response) {
        if (const auto self = weak.lock()) {
          if (!renewal || self->renewals_->isNewest(*renewal))
            writeFor(fetching, [&] { self->cache_->save(response.sObjects); });
          self->log("fetchedSObjects(), sObjects was fetched then cached");
        }
        return std::move(response.sObjects);
      });
}

Publisher<std::optional<std::string>> SObjectsDataService::fetchedListViewType(const std::string& id,
                                                                               const Fetching& fetching) {
  log("fetchedListViewType(for:): id: " + id);
  const auto request =
      serverRequest(serverPath("query"), "SELECT Id,SobjectType FROM ListView WHERE Id = '" + id + "'");
  if (!request) return Publisher<std::optional<std::string>>::fail(SObjectsDataServiceError::invalidUrl());
  return fetched<ListViewObjectRecords>(*request, fetching)
      .map([weak = weak_from_this(), id, fetching](const ListViewObjectRecords& response) {
        auto type = response.records.empty() ? std::nullopt : response.records.front().objectType;
        writeFor(fetching, [&] {
          if (const auto self = weak.lock()) self->cache_->save(type, id);
        });
        if (const auto self = weak.lock()) {
          self->log("fetchedListViewType(for:), list view for id: " + id + ", was fetched then cached");
        }
        return type;
      });
}

template <class Response>
Publisher<Response> SObjectsDataService::fetched(const NetRequest& request, const Fetching& fetching) {
  return sentAtEachSubscription(partOf(weak_from_this(), *network_), request, Preferred::error, fetching)
      .tryMap(decodedBody<Response, SObjectsDataServiceError::noData>)
      .mapError([weak = weak_from_this(), url = request.base().url.absoluteString()](const Error& error) {
        return ofRequest(mapped(error, weak), url);
      });
}

ListState SObjectsDataService::listState() const {
  return cache_->listState();
}

/// Takes `lookUp` for each of `keys`, now; `valueOf` makes a `Result<T>` of what that gives.
template <class T, class Tuple, class ValueOf>
Publisher<KeyResult<T>> SObjectsDataService::each(std::vector<std::string> keys, LookUp<Tuple> lookUp,
                                                  Asking asking, ValueOf valueOf) {
  return Publisher<std::string>::sequence(std::move(keys))
      .flatMap(
          [weak = weak_from_this(), lookUp, asking = std::move(asking), valueOf](const std::string& key) {
            const auto self = weak.lock();
            if (!self) return silence<KeyResult<T>>();
            return (*self.*lookUp)(key, asking).tryMap(valueOf).results().map([key](Result<T>&& value) {
              return KeyResult<T>{key, std::move(value)};
            });
          });
}

Publisher<KeyResult<SObjectsDataService::TypeAndInstance>> SObjectsDataService::eachOfIds(
    std::vector<std::string> ids, Source source, Fetching fetching) {
  return each<TypeAndInstance>(std::move(ids), &SObjectsDataService::sObjectAsIdTuple,
                               {source, true, std::move(fetching)},
                               [weak = weak_from_this()](IdTuple&& found) -> Result<TypeAndInstance> {
                                 const auto self = found.type ? nullptr : weak.lock();
                                 if (self && !self->knowsKeyPrefixes()) return Error(NotCached());
                                 return TypeAndInstance{std::move(found.type), std::move(found.instance)};
                               });
}

Publisher<KeyResult<std::optional<SObject>>> SObjectsDataService::eachOfNames(std::vector<std::string> names,
                                                                              Source source,
                                                                              Fetching fetching) {
  return each<OptionalSObject>(
      std::move(names), &SObjectsDataService::sObjectAsNameTuple, {source, true, std::move(fetching)},
      [](NameTuple&& found) { return Result<OptionalSObject>(std::move(found.sObject)); });
}

Publisher<SObjectsDataService::SObjects> SObjectsDataService::allSObjects(Source source, Fetching fetching) {
  return Publisher<SObjects>::deferred([weak = weak_from_this(), source, fetching = std::move(fetching)] {
    const auto self = weak.lock();
    if (!self) return silence<SObjects>();
    if (auto cached = self->cache_->cachedSObjects()) return Publisher<SObjects>::just(std::move(cached));
    if (source == Source::cacheOnly) return Publisher<SObjects>::fail(NotCached());
    return self->sharedSObjects(fetching);
  });
}

Publisher<SObjectsDataService::SObjects> SObjectsDataService::renewedSObjects(Fetching fetching) {
  return sharedSObjects(fetching);
}

Publisher<SObjectsDataService::SObjects> SObjectsDataService::sObjectsFromNowOn(Fetching fetching) {
  renewals_->begin();
  return sharedSObjects(fetching);
}

Publisher<SObjectsDataService::SObjects> SObjectsDataService::sharedSObjects(const Fetching& fetching) {
  const auto renewal = renewals_->current();
  const auto key = Renewals::key("sobjects", renewal);
  return sharedFetch(lists_, key, fetching, [weak = weak_from_this(), renewal](const Fetching& attempt) {
    const auto self = weak.lock();
    if (!self) return silence<SObjects>();
    return self->fetchedSObjects(attempt, renewal)
        .map([weak, attempt](std::vector<SObject>&& sObjects) -> SObjects {
          writeFor(attempt, [&] {
            if (const auto service = weak.lock()) service->cache_->dropSingles();
          });
          return std::make_shared<const NamedList<SObject>>(std::move(sObjects));
        });
  });
}

void SObjectsDataService::forgetListViews() const {
  cache_->dropListViews();
}

void SObjectsDataService::forget() const {
  cache_->forget();
}

std::optional<std::string> SObjectsDataService::name(const std::string& id, const Asking& asking) {
  const std::string keyPrefix = keyPrefixOf(id);
  if (auto name = cache_->cachedName(keyPrefix)) return name;
  const auto drops = cache_->drops();
  const auto names = cache_->cachedKeyPrefixes();
  if (!names) return asking.isShared ? nameInList(keyPrefix) : std::nullopt;
  const auto found = names->find(keyPrefix);
  if (found == names->end()) return std::nullopt;
  writeFor(asking.fetching, [&] {
    cache_->saveKeyPrefix(keyPrefix, found->second);
    dropIfOlder(drops, asking);
  });
  return found->second;
}

/// As the row of all prefixes would say. Of equal prefixes the last counts there.
std::optional<std::string> SObjectsDataService::nameInList(const std::string& keyPrefix) const {
  const auto list = cache_->cachedSObjects();
  if (!list) return std::nullopt;
  const auto& all = list->records();
  const auto found = std::find_if(all.rbegin(), all.rend(),
                                  [&](const SObject& sObject) { return sObject.keyPrefix == keyPrefix; });
  return found == all.rend() ? std::nullopt : std::optional(found->name);
}

/// A newer list may have come since `drops` was looked at, and its rows been dropped before this one came.
void SObjectsDataService::dropIfOlder(std::uint64_t drops, const Asking& asking) const {
  if (asking.isShared && cache_->drops() != drops) cache_->dropSingles();
}

void SObjectsDataService::log(std::string_view text) const {
  logger_->log(text, LogLevel::info);
}

SObjectsDataServiceError SObjectsDataService::mapped(const Error& error,
                                                     const std::weak_ptr<SObjectsDataService>& weak) {
  const auto service = weak.lock();
  return SObjectsDataServiceError::map(error, service ? service->logger_.get() : nullptr);
}

std::string_view rawValue(SObjectsDataService::CacheEntryType type) {
  using Type = SObjectsDataService::CacheEntryType;
  switch (type) {
    case Type::listView:
      return "listView";
    case Type::sObjects:
      return "sObjects";
    case Type::sObject:
      return "sObject";
    case Type::keyPrefixes:
      return "keyPrefixes";
    case Type::keyPrefix:
      return "keyPrefix";
  }
  return "unknown";
}

}  // namespace vellora
