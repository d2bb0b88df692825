// What is asked of the server: the list, and what list views list.

#include <utility>

#include "vellora/DataServices/NamedList.h"
#include "vellora/DataServices/NotCached.h"
#include "vellora/DataServices/PartOf.h"
#include "vellora/DataServices/Renewals.h"
#include "vellora/DataServices/Requester.h"
#include "vellora/DataServices/SObjectsCache.h"
#include "vellora/DataServices/SObjectsDataService.h"
#include "vellora/DataServices/Sending.h"
#include "vellora/DataServices/ServerRequest.h"
#include "vellora/DataServices/SharedFetch.h"
#include "vellora/DataServices/Silence.h"
#include "vellora/Models/ListViewObjectRecords.h"
#include "vellora/Models/SObjectsResponse.h"

namespace vellora {

using CorvaneSDK::NetRequest;

namespace {

constexpr std::string_view listWasFetched = "fetchedSObjects(), sObjects was fetched then cached";

std::string serverPath(std::string_view resource) {
  return std::string("/services/data/")
      .append(SObjectsDataService::Constants::queryApiVersion)
      .append("/")
      .append(resource);
}

SObjectsDataServiceError ofRequest(const SObjectsDataServiceError& error, const std::string& url) {
  return error.ofRequest(url, error.payload() ? std::optional(*error.payload()) : std::nullopt);
}

}  // namespace

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
  log("fetchedListViewType(for:): id: ", {id});
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
          self->log("fetchedListViewType(for:), list view for id: ", {id, ", was fetched then cached"});
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

}  // namespace vellora
