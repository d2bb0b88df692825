#include "vellora/DataServices/LayoutDataService.h"

#include <new>
#include <utility>

#include "vellora/DataServices/CachedLayouts.h"
#include "vellora/DataServices/Download.h"
#include "vellora/DataServices/DownloadOrder.h"
#include "vellora/DataServices/EachLayout.h"
#include "vellora/DataServices/Expiry.h"
#include "vellora/DataServices/FailureLog.h"
#include "vellora/DataServices/Joined.h"
#include "vellora/DataServices/LayoutCache.h"
#include "vellora/DataServices/LayoutCompletion.h"
#include "vellora/DataServices/LayoutNames.h"
#include "vellora/DataServices/ServerRequest.h"
#include "vellora/DataServices/Silence.h"
#include "vellora/Models/ObjectLayoutInfoCacheEntry.h"

namespace vellora {

namespace {

using Layouts = std::vector<ObjectLayoutInfo>;

constexpr std::string_view searchDownloadName = "getLayoutFromNetwork(_:completion:)";

std::optional<CorvaneSDK::NetRequest> requestToGetSearchLayout(
    const std::vector<std::string>& objectTypeNames) {
  const auto version = std::string(LayoutDataService::Constants::queryApiVersion);
  return serverRequest("/services/data/" + version + "/search/layout", joined(objectTypeNames, ","));
}

std::optional<DatedLayout<ObjectLayoutInfo>> dated(LayoutCache& cache, const std::string& name,
                                                   const Expiry& expiry) {
  auto entry = cache.load<ObjectLayoutInfoCacheEntry>(name);
  if (!entry) return std::nullopt;
  const bool isExpired = expiry.isPast(entry->downloadedTime);
  return DatedLayout<ObjectLayoutInfo>{std::move(entry->objectLayoutInfo), entry->downloadedTime, isExpired};
}

}  // namespace

LayoutDataService::LayoutDataService(const RequiredAPI& api, double cacheTimeout)
    : network_(api.network),
      cache_(api.cache),
      logger_(api.logger),
      cacheTimeout_(cacheTimeout),
      names_(std::make_shared<const LayoutNames>(api.cache, Constants::namesKey)),
      order_(std::make_shared<DownloadOrder>()) {}

void LayoutDataService::layoutForApiName(const std::vector<std::string>& names, Completion completion) {
  const auto self = weak_from_this().lock();  // the host or the completion may drop the last other reference
  std::vector<ObjectLayoutInfo> cached;
  cached.reserve(names.size());
  LayoutCache cache(*cache_, *logger_, Constants::keyPrefix);
  const Expiry expiry(cacheTimeout_);
  for (const auto& name : names) {
    auto entry = cache.load<ObjectLayoutInfoCacheEntry>(name);
    if (!entry) continue;
    // An expired one is served once more, and removed so that the next lookup fetches it.
    if (expiry.isPast(entry->downloadedTime)) cache.remove(name);
    cached.push_back(std::move(entry->objectLayoutInfo));
  }
  if (cached.size() == names.size()) {
    if (completion) completion(std::move(cached), std::nullopt);
    return;
  }
  const auto missing = namesWithoutLayout(names, cached);
  const FailureLog log(weak_from_this(), *logger_, "layoutForApiName(_:completion:)");
  getLayoutFromNetwork(missing,
                       answerWithCached<ObjectLayoutInfo>({cached, cached}, log, std::move(completion)));
}

Publisher<LayoutResult<ObjectLayoutInfo>> LayoutDataService::eachLayout(
    std::shared_ptr<const std::vector<std::string>> names, Source source, std::optional<Date> notBefore,
    Fetching fetching) {
  using Known = LayoutResult<ObjectLayoutInfo>;
  return Publisher<Known>::deferred([weak = weak_from_this(), names = std::move(names), source, notBefore,
                                     fetching = std::move(fetching)] {
    const auto self = weak.lock();
    if (!self) return silence<Known>();
    auto cached = [self, cache = LayoutCache(*self->cache_, *self->logger_, Constants::keyPrefix),
                   expiry = Expiry(self->cacheTimeout_)](const std::string& name) mutable {
      return dated(cache, name, expiry);
    };
    auto downloaded = [weak](const auto& some, const Fetching& attempt) {
      const auto service = weak.lock();
      return service ? service->downloadedLayouts(some, attempt) : silence<Downloaded>();
    };
    return EachLayout<ObjectLayoutInfo>::of(
        names, self->downloads_,
        {{std::move(cached), requestToGetSearchLayout, std::move(downloaded)}, source, notBefore, fetching});
  });
}

Publisher<LayoutDataService::Downloaded> LayoutDataService::downloadedLayouts(
    const std::vector<std::string>& names, const Fetching& fetching) {
  const auto request = requestToGetSearchLayout(names);
  if (!request) return Publisher<Downloaded>::fail(SObjectsDataServiceError::invalidUrl());
  const FailureLog log(weak_from_this(), *logger_, searchDownloadName);
  const auto turn = std::make_shared<const DownloadOrder::Turn>(order_);
  const Date asked = now();  // before it is sent: the network may answer at once
  return downloaded<Layouts>(*network_, *request, log, fetching)
      .map([weak = weak_from_this(), asked, turn, fetching](const std::shared_ptr<const Layouts>& layouts) {
        if (const auto self = weak.lock()) {
          self->names_->noteAndSave(typesOf(*layouts), fetching, [weak, layouts, asked, turn] {
            if (const auto service = weak.lock())
              service->save(*layouts, asked, turn->overtaken(typesOf(*layouts)));
          });
        }
        return std::make_shared<const FetchedLayouts<ObjectLayoutInfo>>(
            FetchedLayouts<ObjectLayoutInfo>{*layouts, asked});
      });
}

void LayoutDataService::forget(const std::vector<std::string>& names) const {
  LayoutCache(*cache_, *logger_, Constants::keyPrefix).removeAll(names);
}

void LayoutDataService::forgetNoted() const {
  names_->forgetAllBut(LayoutCache(*cache_, *logger_, Constants::keyPrefix).removeAll(names_->all()));
}

void LayoutDataService::getLayoutFromNetwork(const std::vector<std::string>& names, Completion completion) {
  const auto request = requestToGetSearchLayout(names);
  if (!request) return completion(std::nullopt, std::nullopt);
  const FailureLog log(weak_from_this(), *logger_, searchDownloadName);
  download<std::vector<ObjectLayoutInfo>>(
      *network_, *request, log, [weak = weak_from_this(), completion = std::move(completion)](auto answer) {
        const auto& layouts = answer.body;
        if (!layouts) return completion(std::nullopt, std::move(answer.error));
        answerWithCopy(completion, *layouts);
        const auto self = weak.lock();  // only now: the completion may have released the service
        if (self) self->save(*layouts);
      });
}

void LayoutDataService::save(const std::vector<ObjectLayoutInfo>& layouts, std::optional<Date> asked,
                             const std::set<std::string>& overtaken) {
  try {
    LayoutCache cache(*cache_, *logger_, Constants::keyPrefix);
    for (const auto& layout : layouts) {
      if (overtaken.contains(layout.objectType)) continue;
      cache.save(layout.objectType, ObjectLayoutInfoCacheEntry{layout, asked.value_or(now())},
                 "save(key:objectLayoutInfo:)");
    }
  } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): the next lookup fetches them again
  }
}

}  // namespace vellora
