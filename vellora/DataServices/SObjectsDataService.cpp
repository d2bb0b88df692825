#include "vellora/DataServices/SObjectsDataService.h"

#include <algorithm>
#include <new>
#include <utility>

#include "vellora/DataServices/FetchedOnce.h"
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

constexpr std::string_view listWasFetched = "fetchedSObjects(), sObjects was fetched then cached";

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
      renewals_(std::make_shared<Renewals>()) {}

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
  const auto typeName = name(id, asking);
  if (!typeName || typeName.value() != listViewName) {
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
  if (!typeName) return Publisher<OptionalSObject>::fail(typeName.error());
  if (!typeName.value()) return Publisher<OptionalSObject>::just(std::nullopt);
  return sObjectForName(typeName.value(), asking);
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
  if (asking.isShared) return sObjectOnServer(name.value_or(std::string()), asking);
  return fetchedSObjects().map([weak = weak_from_this(), name](const std::vector<SObject>& sObjects) {
    auto sObject = firstNamed(sObjects, name);
    const auto self = weak.lock();
    if (sObject && self) self->cache_->save(*sObject);
    return sObject;
  });
}

/// The same for a lookup of the second kind, when the cache has no list.
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
  const auto renewal = renewals_->current();
  return sharedFetch(listViewTypes_, Renewals::key(id, renewal), asking.fetching,
                     [weak = weak_from_this(), id, renewal](const auto& attempt) {
                       const auto self = weak.lock();
                       return self ? self->fetchedListViewType(id, attempt, renewal)
                                   : silence<std::optional<std::string>>();
                     });
}

Publisher<std::vector<SObject>> SObjectsDataService::fetchedSObjects() {
  return fetchedList({}).map([weak = weak_from_this()](SObjectsResponse response) {
    if (const auto self = weak.lock()) {
      self->cache_->save(response.sObjects);
      self->areSinglesOld_ = true;
      self->log(listWasFetched);
    }
    return std::move(response.sObjects);
  });
}

Publisher<SObjectsResponse> SObjectsDataService::fetchedList(const Fetching& fetching) {
  const auto request = serverRequest(serverPath("sobjects"));
  if (!request) return Publisher<SObjectsResponse>::fail(SObjectsDataServiceError::invalidUrl());
  return fetched<SObjectsResponse>(*request, fetching);
}

Publisher<std::optional<std::string>> SObjectsDataService::fetchedListViewType(
    const std::string& id, const Fetching& fetching, std::optional<std::uint64_t> renewal) {
  log("fetchedListViewType(for:): id: " + id);
  const auto request =
      serverRequest(serverPath("query"), "SELECT Id,SobjectType FROM ListView WHERE Id = '" + id + "'");
  if (!request) return Publisher<std::optional<std::string>>::fail(SObjectsDataServiceError::invalidUrl());
  return fetched<ListViewObjectRecords>(*request, fetching)
      .map([weak = weak_from_this(), id, fetching, renewal](const ListViewObjectRecords& response) {
        auto type = response.records.empty() ? std::nullopt : response.records.front().objectType;
        writeFor(fetching, [&] {
          const auto self = weak.lock();
          const bool isOld = self && renewal && *renewal != self->renewals_->current();
          if (self && !isOld) self->cache_->save(type, id);
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
            self->dropOldSingles(asking.fetching);
            return (*self.*lookUp)(key, asking).tryMap(valueOf).results().map([key](Result<T>&& value) {
              return KeyResult<T>{key, std::move(value)};
            });
          });
}

Publisher<KeyResult<SObjectsDataService::TypeAndInstance>> SObjectsDataService::eachOfIds(
    std::vector<std::string> ids, Source source, Fetching fetching, SObjects loaded) {
  const auto fetched = std::make_shared<FetchedOnce<SObject>>(std::move(loaded));
  return each<TypeAndInstance>(
      std::move(ids), &SObjectsDataService::sObjectAsIdTuple, {source, true, std::move(fetching), fetched},
      [](IdTuple&& found) {
        return Result<TypeAndInstance>(TypeAndInstance{std::move(found.type), std::move(found.instance)});
      });
}

Publisher<KeyResult<std::optional<SObject>>> SObjectsDataService::eachOfNames(std::vector<std::string> names,
                                                                              Source source,
                                                                              Fetching fetching,
                                                                              SObjects loaded) {
  const auto fetched = std::make_shared<FetchedOnce<SObject>>(std::move(loaded));
  return each<OptionalSObject>(std::move(names), &SObjectsDataService::sObjectAsNameTuple,
                               {source, true, std::move(fetching), fetched}, [](NameTuple&& found) {
                                 return Result<OptionalSObject>(std::move(found.sObject));
                               });
}

Publisher<SObjectsDataService::SObjects> SObjectsDataService::allSObjects(Source source, Fetching fetching,
                                                                          SObjects loaded) {
  return Publisher<SObjects>::deferred(
      [weak = weak_from_this(), source, fetching = std::move(fetching), loaded = std::move(loaded)] {
        const auto self = weak.lock();
        if (!self) return silence<SObjects>();
        if (auto cached = self->cache_->cachedSObjects()) return Publisher<SObjects>::just(std::move(cached));
        if (loaded) return Publisher<SObjects>::just(loaded);
        if (source == Source::cacheOnly) return Publisher<SObjects>::fail(NotCached());
        return self->sharedSObjects(fetching);
      });
}

Publisher<SObjectsDataService::SObjects> SObjectsDataService::currentSObjects(const Fetching& fetching) {
  return sharedSObjects(fetching, true);
}

Publisher<SObjectsDataService::SObjects> SObjectsDataService::renewedSObjects(const Fetching& fetching) {
  return sharedSObjects(fetching);
}

Publisher<SObjectsDataService::SObjects> SObjectsDataService::sObjectsFromNowOn(const Fetching& fetching) {
  renewals_->begin();
  return sharedSObjects(fetching);
}

Publisher<SObjectsDataService::SObjects> SObjectsDataService::sharedSObjects(const Fetching& fetching,
                                                                             bool mayBeCached) {
  const auto renewal = renewals_->current();
  const auto key = Renewals::key("sobjects", renewal);
  return sharedFetch(
      lists_, key, fetching, [weak = weak_from_this(), renewal, mayBeCached](const Fetching& attempt) {
        const auto self = weak.lock();
        if (!self) return silence<SObjects>();
        if (mayBeCached && self->listState().state == CacheState::valid) {
          if (auto cached = self->cache_->cachedSObjects())
            return Publisher<SObjects>::just(std::move(cached));
        }
        const auto save = [weak, attempt](const SObjects& list) {
          writeFor(attempt, [&] {
            const auto service = weak.lock();
            if (!service) return;
            service->cache_->dropSingles();  // before as well: no row may be older than the list for a moment
            service->cache_->save(list->records());
          });
        };
        return self->fetchedList(attempt)
            .flatMap([renewal, renewals = self->renewals_, save](SObjectsResponse response) {
              const auto list = std::make_shared<const NamedList<SObject>>(std::move(response.sObjects));
              return renewals->kept<SObjects>(renewal, list, save);
            })
            .map([weak, attempt](const SObjects& list) {
              if (const auto service = weak.lock()) service->log(listWasFetched);
              writeFor(attempt, [&] {
                if (const auto service = weak.lock()) service->cache_->dropSingles();
              });
              return list;
            });
      });
}

void SObjectsDataService::forgetListViews() const {
  cache_->dropListViews();
}

void SObjectsDataService::forget() const {
  cache_->forget();
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
