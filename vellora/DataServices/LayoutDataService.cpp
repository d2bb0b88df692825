#include "vellora/DataServices/LayoutDataService.h"

#include <new>
#include <utility>

#include "vellora/DataServices/CachedLayouts.h"
#include "vellora/DataServices/Download.h"
#include "vellora/DataServices/Expiry.h"
#include "vellora/DataServices/FailureLog.h"
#include "vellora/DataServices/Joined.h"
#include "vellora/DataServices/LayoutCache.h"
#include "vellora/DataServices/LayoutCompletion.h"
#include "vellora/DataServices/ServerRequest.h"
#include "vellora/Models/ObjectLayoutInfoCacheEntry.h"

namespace vellora {

namespace {

std::optional<CorvaneSDK::NetRequest> requestToGetSearchLayout(
    const std::vector<std::string>& objectTypeNames) {
  const auto version = std::string(LayoutDataService::Constants::queryApiVersion);
  return serverRequest("/services/data/" + version + "/search/layout", joined(objectTypeNames, ","));
}

/// The cached layout of that type. An expired one is removed, so that the next lookup fetches it.
std::optional<ObjectLayoutInfo> load(LayoutCache& cache, const std::string& objectType,
                                     const Expiry& expiry) {
  auto entry = cache.load<ObjectLayoutInfoCacheEntry>(objectType);
  if (!entry) return std::nullopt;
  if (expiry.isPast(entry->downloadedTime)) cache.remove(objectType);
  return std::move(entry->objectLayoutInfo);
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
    if (auto layout = load(cache, name, expiry)) cached.push_back(*std::move(layout));
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

void LayoutDataService::getLayoutFromNetwork(const std::vector<std::string>& names, Completion completion) {
  const auto request = requestToGetSearchLayout(names);
  if (!request) return completion(std::nullopt, std::nullopt);
  const FailureLog log(weak_from_this(), *logger_, "getLayoutFromNetwork(_:completion:)");
  download<std::vector<ObjectLayoutInfo>>(
      *network_, *request, log, [weak = weak_from_this(), completion = std::move(completion)](auto answer) {
        const auto& layouts = answer.body;
        if (!layouts) return completion(std::nullopt, std::move(answer.error));
        answerWithCopy(completion, *layouts);
        const auto self = weak.lock();  // only now: the completion may have released the service
        if (self) self->save(*layouts);
      });
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
