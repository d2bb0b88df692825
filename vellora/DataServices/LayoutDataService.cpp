#include "vellora/DataServices/LayoutDataService.h"

#include <new>
#include <utility>

#include "vellora/DataServices/LayoutSteps.h"
#include "vellora/DataServices/ServerRequest.h"
#include "vellora/Models/ObjectLayoutInfoCacheEntry.h"

namespace vellora {

namespace {

std::optional<CorvaneSDK::NetRequest> requestToGetSearchLayout(
    const std::vector<std::string>& objectTypeNames) {
  const auto version = std::string(LayoutDataService::Constants::queryApiVersion);
  return serverRequest("/services/data/" + version + "/search/layout", joined(objectTypeNames, ","));
}

}  // namespace

LayoutDataService::LayoutDataService(RequiredAPI api, double cacheTimeout)
    : network_(std::move(api.network)),
      cache_(std::move(api.cache)),
      logger_(std::move(api.logger)),
      cacheTimeout_(cacheTimeout) {}

void LayoutDataService::layoutForApiName(const std::vector<std::string>& names, Completion completion) {
  const auto self = weak_from_this().lock();  // the host or the completion may drop the last other reference
  std::vector<ObjectLayoutInfo> cached;
  cached.reserve(names.size());
  CacheKeys keys(Constants::keyPrefix);
  Expiry expiry(cacheTimeout_);
  for (const auto& name : names) {
    if (auto layout = load(keys.keyOf(name), expiry)) cached.push_back(*std::move(layout));
  }
  if (cached.size() == names.size()) {
    if (completion) completion(std::move(cached), std::nullopt);
    return;
  }
  const auto missing = namesWithoutLayout(names, cached);
  getLayoutFromNetwork(
      missing, answerWithCached<ObjectLayoutInfo>({cached, cached}, loggerOf(weak_from_this(), *logger_),
                                                  "layoutForApiName(_:completion:)", std::move(completion)));
}

void LayoutDataService::getLayoutFromNetwork(const std::vector<std::string>& names, Completion completion) {
  const auto request = requestToGetSearchLayout(names);
  if (!request) return completion(std::nullopt, std::nullopt);
  download<std::vector<ObjectLayoutInfo>>(
      *network_, *request, loggerOf(weak_from_this(), *logger_), "getLayoutFromNetwork(_:completion:)",
      [weak = weak_from_this(), completion = std::move(completion)](auto layouts, auto error) {
        if (!layouts) return completion(std::nullopt, std::move(error));
        answerWithCopy(completion, *layouts);
        const auto self = weak.lock();  // only now: the completion may have released the service
        if (self) self->save(*layouts);
      });
}

void LayoutDataService::save(const std::vector<ObjectLayoutInfo>& layouts) {
  try {
    CacheKeys keys(Constants::keyPrefix);
    for (const auto& layout : layouts) save(keys.keyOf(layout.objectType), layout);
  } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): they are asked for again
  }
}

void LayoutDataService::save(const std::string& key, const ObjectLayoutInfo& objectLayoutInfo) {
  saveEntry(*cache_, *logger_, key, ObjectLayoutInfoCacheEntry{objectLayoutInfo, now()},
            "save(key:objectLayoutInfo:)");
}

std::optional<ObjectLayoutInfo> LayoutDataService::load(const std::string& key, Expiry& expiry) {
  auto entry = loadEntry<ObjectLayoutInfoCacheEntry>(*cache_, *logger_, key);
  if (!entry) return std::nullopt;
  if (expiry.isPast(entry->downloadedTime)) cache_->remove(key);
  return std::move(entry->objectLayoutInfo);
}

}  // namespace vellora
