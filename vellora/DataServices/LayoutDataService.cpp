#include "vellora/DataServices/LayoutDataService.h"

#include <new>
#include <utility>

#include "vellora/DataServices/CachedLayouts.h"
#include "vellora/DataServices/Download.h"
#include "vellora/DataServices/EachLayout.h"
#include "vellora/DataServices/Expiry.h"
#include "vellora/DataServices/FailureLog.h"
#include "vellora/DataServices/Joined.h"
#include "vellora/DataServices/LayoutCache.h"
#include "vellora/DataServices/LayoutCompletion.h"
#include "vellora/DataServices/ServerRequest.h"
#include "vellora/DataServices/Silence.h"
#include "vellora/Models/ObjectLayoutInfoCacheEntry.h"

namespace vellora {

namespace {

std::optional<CorvaneSDK::NetRequest> requestToGetSearchLayout(
    const std::vector<std::string>& objectTypeNames) {
  const auto version = std::string(LayoutDataService::Constants::queryApiVersion);
  return serverRequest("/services/data/" + version + "/search/layout", joined(objectTypeNames, ","));
}

/// What becomes of an expired layout that is served.
enum class Expired { isRemoved, stays };

/// The cached layout of that type. An expired one is removed, so that the next lookup fetches it.
std::optional<DatedLayout<ObjectLayoutInfo>> load(LayoutCache& cache, const std::string& objectType,
                                                  const Expiry& expiry,
                                                  Expired expired = Expired::isRemoved) {
  auto entry = cache.load<ObjectLayoutInfoCacheEntry>(objectType);
  if (!entry) return std::nullopt;
  const bool isPast = expiry.isPast(entry->downloadedTime);
  if (isPast && expired == Expired::isRemoved) cache.remove(objectType);
  return DatedLayout<ObjectLayoutInfo>{std::move(entry->objectLayoutInfo), entry->downloadedTime, isPast};
}

}  // namespace

LayoutDataService::LayoutDataService(const RequiredAPI& api, double cacheTimeout)
    : network_(api.network), cache_(api.cache), logger_(api.logger), cacheTimeout_(cacheTimeout) {}

void LayoutDataService::layoutForApiName(const std::vector<std::string>& names, Completion completion) {
  const auto self = weak_from_this().lock();  // the host or the completion may drop the last other reference
  std::vector<ObjectLayoutInfo> cached;
  cached.reserve(names.size());
  LayoutCache cache(*cache_, *logger_, Constants::keyPrefix);
  const Expiry expiry(cacheTimeout_);
  for (const auto& name : names) {
    if (auto found = load(cache, name, expiry)) cached.push_back(std::move(found->layout));
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

Publisher<LayoutResult<ObjectLayoutInfo>> LayoutDataService::eachLayout(std::vector<std::string> names,
                                                                        Source source,
                                                                        std::optional<Date> notBefore,
                                                                        Fetching fetching) {
  using Known = LayoutResult<ObjectLayoutInfo>;
  return Publisher<Known>::deferred(
      [weak = weak_from_this(), names = std::move(names), source, notBefore, fetching = std::move(fetching)] {
        const auto self = weak.lock();
        if (!self) return silence<Known>();
        LayoutCache cache(*self->cache_, *self->logger_, Constants::keyPrefix);
        const Expiry expiry(self->cacheTimeout_);
        const auto expired = source == Source::cacheFirst ? Expired::isRemoved : Expired::stays;
        return EachLayout<ObjectLayoutInfo>(
                   {[&](const std::string& name) { return load(cache, name, expiry, expired); },
                    /*servesExpired=*/true, requestToGetSearchLayout,
                    [weak](const auto& some, const Fetching& attempt) {
                      const auto service = weak.lock();
                      return service ? service->downloadedLayouts(some, attempt) : silence<Downloaded>();
                    }},
                   source, notBefore, fetching)
            .of(names, self->downloads_);
      });
}

Publisher<LayoutDataService::Downloaded> LayoutDataService::downloadedLayouts(
    const std::vector<std::string>& names, const Fetching& fetching) {
  return downloadedBy<ObjectLayoutInfo>([&](Completion completion) {
    getLayoutFromNetwork(names, std::move(completion), Caching::first, fetching);
  });
}

void LayoutDataService::forget(const std::vector<std::string>& names) const {
  LayoutCache cache(*cache_, *logger_, Constants::keyPrefix);
  for (const auto& name : names) cache.remove(name);
}

void LayoutDataService::getLayoutFromNetwork(const std::vector<std::string>& names, Completion completion,
                                             Caching caching, const Fetching& fetching) {
  const auto request = requestToGetSearchLayout(names);
  if (!request) return completion(std::nullopt, std::nullopt);
  const FailureLog log(weak_from_this(), *logger_, "getLayoutFromNetwork(_:completion:)");
  download<std::vector<ObjectLayoutInfo>>(
      *network_, *request, log,
      [weak = weak_from_this(), completion = std::move(completion), caching](auto answer) {
        const auto& layouts = answer.body;
        if (!layouts) return completion(std::nullopt, std::move(answer.error));
        const auto save = [&] {
          const auto self = weak.lock();  // only now: the completion may have released the service
          if (self) self->save(*layouts);
        };
        if (caching == Caching::first) save();
        answerWithCopy(completion, *layouts);
        if (caching == Caching::last) save();
      },
      fetching);
}

void LayoutDataService::save(const std::vector<ObjectLayoutInfo>& layouts) {
  try {
    LayoutCache cache(*cache_, *logger_, Constants::keyPrefix);
    for (const auto& layout : layouts) {
      cache.save(layout.objectType, ObjectLayoutInfoCacheEntry{layout, now()}, "save(key:objectLayoutInfo:)");
    }
  } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): the next lookup fetches them again
  }
}

}  // namespace vellora
