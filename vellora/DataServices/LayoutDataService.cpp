#include "vellora/DataServices/LayoutDataService.h"

#include <algorithm>
#include <utility>

#include "vellora/DataServices/ServerRequest.h"
#include "vellora/Models/ObjectLayoutInfoCacheEntry.h"
#include "vellora/Platform/Date.h"
#include "vellora/Platform/Json.h"

namespace vellora {

using CorvaneSDK::LogLevel;

namespace {

std::string cacheKey(const std::string& objectType) {
  return std::string(LayoutDataService::Constants::keyPrefix) + objectType;
}

std::string joined(const std::vector<std::string>& names) {
  std::string text;
  for (const auto& name : names) text.append(&name == names.data() ? "" : ",").append(name);
  return text;
}

std::optional<CorvaneSDK::NetRequest> requestToGetSearchLayout(
    const std::vector<std::string>& objectTypeNames) {
  const auto version = std::string(LayoutDataService::Constants::queryApiVersion);
  return serverRequest("/services/data/" + version + "/search/layout", joined(objectTypeNames));
}

std::vector<std::string> namesWithoutLayout(const std::vector<std::string>& names,
                                            const std::vector<ObjectLayoutInfo>& layouts) {
  std::vector<std::string> missing;
  std::copy_if(names.begin(), names.end(), std::back_inserter(missing), [&](const std::string& name) {
    return std::none_of(layouts.begin(), layouts.end(),
                        [&](const auto& layout) { return layout.objectType == name; });
  });
  return missing;
}

}  // namespace

LayoutDataService::LayoutDataService(RequiredAPI api, double cacheTimeout)
    : network_(std::move(api.network)),
      cache_(std::move(api.cache)),
      logger_(std::move(api.logger)),
      cacheTimeout_(cacheTimeout) {}

void LayoutDataService::layoutForApiName(const std::vector<std::string>& names, Completion completion) {
  std::vector<ObjectLayoutInfo> cached;
  for (const auto& name : names) {
    if (auto layout = load(cacheKey(name))) cached.push_back(*std::move(layout));
  }
  if (cached.size() == names.size()) {
    if (completion) completion(std::move(cached), std::nullopt);
    return;
  }
  auto missing = namesWithoutLayout(names, cached);
  getLayoutFromNetwork(missing, [weak = weak_from_this(), completion = std::move(completion),
                                 cached = std::move(cached)](auto layouts, auto error) {
    if (layouts) {
      layouts->insert(layouts->end(), cached.begin(), cached.end());
      if (completion) completion(std::move(layouts), std::nullopt);
      return;
    }
    if (error) logError(weak, "layoutForApiName(_:completion:): Network request error:  ", *error);
    if (completion) completion(cached, std::move(error));
  });
}

void LayoutDataService::getLayoutFromNetwork(const std::vector<std::string>& names, Completion completion) {
  const auto request = requestToGetSearchLayout(names);
  if (!request) return completion(std::nullopt, std::nullopt);
  network_->sendRequest(
      *request, [weak = weak_from_this(), completion = std::move(completion)](
                    const std::optional<Data>& data, const std::optional<Error>& error, const auto&) {
        if (!data) {
          if (error) logError(weak, "getLayoutFromNetwork(_:completion:): Network request error:  ", *error);
          return completion(std::nullopt, SObjectsDataServiceError::network());
        }
        auto layouts = json::decode<std::vector<ObjectLayoutInfo>>(*data);
        if (!layouts) {
          logError(weak, "getLayoutFromNetwork(_:completion:): Failed to decode: ", layouts.error());
          return completion(std::nullopt, SObjectsDataServiceError::decoding());
        }
        completion(layouts.value(), std::nullopt);
        const auto self = weak.lock();  // only now: the completion may have released the service
        if (!self) return;
        for (const auto& layout : layouts.value()) self->save(cacheKey(layout.objectType), layout);
      });
}

void LayoutDataService::save(const std::string& key, const ObjectLayoutInfo& objectLayoutInfo) {
  const auto data = json::encode(ObjectLayoutInfoCacheEntry{objectLayoutInfo, now()});
  if (!data) return logError("save(key:objectLayoutInfo:): Failed to encode: ", data.error());
  cache_->save(data.value(), key);
}

std::optional<ObjectLayoutInfo> LayoutDataService::load(const std::string& key) {
  const auto data = cache_->load(key);
  if (!data) {
    logger_->log("load(key:): No data from cache", LogLevel::info);
    return std::nullopt;
  }
  auto entry = json::decode<ObjectLayoutInfoCacheEntry>(*data);
  if (!entry) {
    logError("load(key:): Failed to decode: ", entry.error());
    return std::nullopt;
  }
  if (now().secondsSince(entry.value().downloadedTime) > cacheTimeout_) cache_->remove(key);
  return std::move(entry).value().objectLayoutInfo;
}

void LayoutDataService::logError(std::string text, const Error& error) {
  logger_->log(text.append(error.localizedDescription()), LogLevel::error);
}

void LayoutDataService::logError(const std::weak_ptr<LayoutDataService>& weak, std::string text,
                                 const Error& error) {
  if (const auto self = weak.lock()) self->logError(std::move(text), error);
}

}  // namespace vellora
