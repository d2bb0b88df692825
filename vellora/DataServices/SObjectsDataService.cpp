#include "vellora/DataServices/SObjectsDataService.h"

#include <new>
#include <utility>

#include "vellora/DataServices/LogLine.h"
#include "vellora/DataServices/Looked.h"
#include "vellora/DataServices/Renewals.h"
#include "vellora/DataServices/SObjectsCache.h"
#include "vellora/DataServices/SObjectsTuples.h"
#include "vellora/DataServices/Silence.h"
#include "vellora/Platform/Json/Description.h"
#include "vellora/Platform/Queues/SerialDispatchQueue.h"

// Its work stands in four files: here the lookups that answer as a whole, in `…Each.cpp` those that tell of
// each key, in `…Steps.cpp` what both do for one key, in `…Fetches.cpp` what is asked of the server.

namespace vellora {

using CorvaneSDK::LogLevel;

namespace {

std::string_view nameOrNil(const std::optional<SObject>& sObject) {
  return sObject ? std::string_view(sObject->name) : "nil";
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
      // Ids often come in order, and then belong at the end.
      const auto entry = found.insert_or_assign(found.end(), std::move(id),
                                                TypeAndInstance{std::move(type), std::move(instance)});
      const TypeAndInstance& both = entry->second;
      if (const auto self = weak.lock()) {
        self->log("sObjectsForIds(_:): id: ", {entry->first, ", (type: ", nameOrNil(both.type),
                                               ", instance: ", nameOrNil(both.instance), ")"});
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
      const auto entry = found.insert_or_assign(found.end(), std::move(name), std::move(sObject));
      if (const auto self = weak.lock()) {
        self->log("sObjectsForNames(_:): tuples for each id: ",
                  {entry->first, ", ", describe(optionalName(entry->second)), ")"});
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
        return self ? (*self.*lookUp)(std::move(key), {}).publisher() : silence<Tuple>();
      })
      .collect();
}

ListState SObjectsDataService::listState() const {
  return cache_->listState();
}

void SObjectsDataService::forgetListViews() const {
  cache_->dropListViews();
}

void SObjectsDataService::forget() const {
  cache_->forget();
}

void SObjectsDataService::releaseMemory() const {
  cache_->releaseMemory();
}

void SObjectsDataService::log(std::string_view text, std::initializer_list<std::string_view> parts) const {
  logLine(*logger_, LogLevel::info, text, parts);
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
