// The lookups that tell of each key what became of it.

#include <utility>

#include "vellora/DataServices/FetchedOnce.h"
#include "vellora/DataServices/Looked.h"
#include "vellora/DataServices/NotCached.h"
#include "vellora/DataServices/Requester.h"
#include "vellora/DataServices/SObjectsCache.h"
#include "vellora/DataServices/SObjectsTuples.h"
#include "vellora/DataServices/Silence.h"

namespace vellora {

/// Takes `lookUp` for each of `keys`, now; `valueOf` makes a `T` of what that gives.
template <class T, class Tuple, class ValueOf>
Publisher<KeyResult<T>> SObjectsDataService::each(std::vector<std::string> keys, LookUp<Tuple> lookUp,
                                                  Asking asking, ValueOf valueOf) {
  return Publisher<std::string>::sequence(std::move(keys))
      .flatMap(
          [weak = weak_from_this(), lookUp, asking = std::move(asking), valueOf](const std::string& key) {
            const auto self = weak.lock();
            if (!self) return silence<KeyResult<T>>();
            self->dropOldSingles(asking.fetching);
            auto looked = (*self.*lookUp)(key, asking);
            if (Tuple* found = looked.value())
              return Publisher<KeyResult<T>>::just({key, valueOf(std::move(*found))});
            return std::move(looked).publisher().map(valueOf).results().map([key](Result<T>&& value) {
              return KeyResult<T>{key, std::move(value)};
            });
          });
}

Publisher<KeyResult<SObjectsDataService::TypeAndInstance>> SObjectsDataService::eachOfIds(
    std::vector<std::string> ids, Source source, Fetching fetching, SObjects loaded) {
  const auto fetched = std::make_shared<FetchedOnce<SObject>>(std::move(loaded));
  return each<TypeAndInstance>(std::move(ids), &SObjectsDataService::sObjectAsIdTuple,
                               {source, true, std::move(fetching), fetched}, [](IdTuple&& found) {
                                 return TypeAndInstance{std::move(found.type), std::move(found.instance)};
                               });
}

Publisher<KeyResult<std::optional<SObject>>> SObjectsDataService::eachOfNames(std::vector<std::string> names,
                                                                              Source source,
                                                                              Fetching fetching,
                                                                              SObjects loaded) {
  const auto fetched = std::make_shared<FetchedOnce<SObject>>(std::move(loaded));
  return each<OptionalSObject>(std::move(names), &SObjectsDataService::sObjectAsNameTuple,
                               {source, true, std::move(fetching), fetched},
                               [](NameTuple&& found) { return std::move(found.sObject); });
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

}  // namespace vellora
