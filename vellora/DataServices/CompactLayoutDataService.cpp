#include "vellora/DataServices/CompactLayoutDataService.h"

#include <algorithm>
#include <functional>
#include <new>
#include <utility>

#include "vellora/DataServices/CompactLayoutDataServiceError.h"
#include "vellora/DataServices/LayoutSteps.h"
#include "vellora/DataServices/ServerRequest.h"
#include "vellora/Models/CompactLayoutCacheEntry.h"
#include "vellora/Platform/Json/Description.h"

namespace vellora {

using CorvaneSDK::LogLevel;
using CorvaneSDK::NetRequest;

/// Downloaded layouts on their way to the caller; shared by the steps that are left.
struct CompactLayoutDataService::Download {
  std::vector<std::string> names;
  CompactLayoutResults results;
  Completion completion;

  /// A log line about the reference fields of this download.
  [[nodiscard]] std::string line(std::string_view progress, std::string_view detail) const {
    return std::string("getCompactLayoutFromNetwork(_:completion:): ")
        .append(progress)
        .append(" qualified API names for reference type fields contained in the ")
        .append(joined(names, ", "))
        .append(" compactLayout(s) - ")
        .append(detail);
  }
};

namespace {

std::optional<NetRequest> requestFor(std::string_view endpoint, std::string queryText) {
  const auto version = std::string(CompactLayoutDataService::Constants::queryApiVersion);
  return serverRequest("/services/data/" + version + std::string(endpoint), std::move(queryText));
}

std::optional<NetRequest> requestToGetCompactLayout(const std::vector<std::string>& objectTypeNames) {
  return requestFor("/compactLayouts", joined(objectTypeNames, ","));
}

std::optional<NetRequest> queryRequest(std::string queryText) {
  return requestFor("/query", std::move(queryText));
}

}  // namespace

CompactLayoutDataService::CompactLayoutDataService(RequiredAPI api, double cacheTimeout)
    : network_(std::move(api.network)),
      cache_(std::move(api.cache)),
      logger_(std::move(api.logger)),
      cacheTimeout_(cacheTimeout) {}

void CompactLayoutDataService::compactLayoutForApiName(const std::vector<std::string>& names,
                                                       Completion completion) {
  const auto self = weak_from_this().lock();  // the host or the completion may drop the last other reference
  std::vector<Cached> entries;
  entries.reserve(names.size());
  CacheKeys keys(Constants::keyPrefix);
  Expiry expiry(cacheTimeout_);
  for (const auto& name : names) {
    if (auto entry = load(keys.keyOf(name), expiry)) entries.push_back(*std::move(entry));
  }
  const bool isComplete = entries.size() == names.size() &&
                          std::none_of(entries.begin(), entries.end(), std::mem_fn(&Cached::expired));
  CachedLayouts<ObjectCompactLayoutInfo> cached;
  cached.fresh.reserve(entries.size());
  for (auto& entry : entries) {
    if (!isComplete) cached.found.push_back(entry.info);  // else nothing goes wrong that would need them
    if (!entry.expired) cached.fresh.push_back(std::move(entry.info));
  }
  if (isComplete) {
    if (completion) completion(std::move(cached.fresh), std::nullopt);
    return;
  }
  const auto missing = namesWithoutLayout(names, cached.fresh);
  getCompactLayoutFromNetwork(
      missing, answerWithCached(std::move(cached), loggerOf(weak_from_this(), *logger_),
                                "compactLayoutForApiName(_:completion:)", std::move(completion)));
}

void CompactLayoutDataService::getCompactLayoutFromNetwork(const std::vector<std::string>& names,
                                                           Completion completion) {
  const auto request = requestToGetCompactLayout(names);
  if (!request) return completion(std::nullopt, std::nullopt);
  download<CompactLayoutResults>(
      *network_, *request, loggerOf(weak_from_this(), *logger_), "getCompactLayoutFromNetwork(_:completion:)",
      [weak = weak_from_this(), names, completion = std::move(completion)](auto results, auto error) {
        if (!results) return completion(std::nullopt, std::move(error));
        const auto self = weak.lock();
        if (!self) return;
        try {
          self->resolveReferenceFields(
              std::make_shared<const Download>(Download{names, *std::move(results), completion}));
        } catch (const std::bad_alloc&) {
          completion(std::nullopt, noMemoryForAnswer());
        }
      });
}

void CompactLayoutDataService::resolveReferenceFields(const std::shared_ptr<const Download>& download) {
  const auto entities = referenceTypeFields(download->results);
  logger_->log(download->line("Getting", entities), LogLevel::info);
  const auto onValue = [weak = weak_from_this(), download](const ObjectQualifiedApiNameInfo& names) {
    updateReferenceTypeFields(names.entityApiNames, download->results);
    const auto self = weak.lock();
    if (self) self->logger_->log(download->line("Updated", describe(names.entityApiNames)), LogLevel::info);
  };
  const auto onCompletion = [weak = weak_from_this(), download](const std::optional<Error>& error) {
    const auto& layouts = download->results.layouts;
    if (error) {
      if (const auto self = weak.lock()) {
        logError(*self->logger_, "getCompactLayoutFromNetwork(_:completion:)",
                 ": Qualified API Name network request failed: ", *error);
      }
      return answerWithCopy(download->completion, layouts);
    }
    answerWithCopy(download->completion, layouts);
    const auto self = weak.lock();  // only now: the completion may have released the service
    if (!self) return;
    CacheKeys keys(Constants::keyPrefix);
    for (const auto& layout : layouts) self->save(keys.keyOf(layout.objectType), layout);
  };
  qualifiedApiNamesCancellable_.replace(
      [&] { return qualifiedApiNameAsPublisher(entities).sink(onValue, onCompletion); });
}

Publisher<ObjectQualifiedApiNameInfo> CompactLayoutDataService::qualifiedApiNameAsPublisher(
    const std::string& entities) {
  const auto request = queryRequest(
      "SELECT EntityDefinition.QualifiedApiName, QualifiedApiName, IsNameField FROM FieldDefinition WHERE "
      "EntityDefinition.QualifiedApiName IN (" +
      entities + ") AND IsNameField = true");
  return requestAsPublisher(request).tryMap(json::decodeOnce<ObjectQualifiedApiNameInfo>);
}

Publisher<Data> CompactLayoutDataService::requestAsPublisher(const std::optional<NetRequest>& request) {
  if (!request) return Publisher<Data>::fail(CompactLayoutDataServiceError::network());
  return Publisher<Data>::deferred([weak = weak_from_this(), request = *request] {
    return Publisher<Data>::promise([&](const Promise<Data>& promise) {
      const auto self = weak.lock();
      if (!self) return;
      self->network_->sendRequest(
          request, [promise](std::optional<Data> data, std::optional<Error> error, const auto&) {
            if (data) return promise.succeed(*std::move(data));
            promise.fail(error ? *std::move(error) : Error(CompactLayoutDataServiceError::network()));
          });
    });
  });
}

void CompactLayoutDataService::save(const std::string& key, const ObjectCompactLayoutInfo& compactLayout) {
  saveEntry(*cache_, *logger_, key, CompactLayoutCacheEntry{compactLayout, now()},
            "save(key:compactLayout:)");
}

std::optional<CompactLayoutDataService::Cached> CompactLayoutDataService::load(const std::string& key,
                                                                               Expiry& expiry) {
  auto entry = loadEntry<CompactLayoutCacheEntry>(*cache_, *logger_, key);
  if (!entry) return std::nullopt;
  return Cached{expiry.isPast(entry->downloadedTime), std::move(entry->compactLayout)};
}

std::string referenceTypeFields(const CompactLayoutResults& compactLayoutResults) {
  std::vector<std::string> types;
  for (const auto& layout : compactLayoutResults.layouts) {
    for (const auto& field : layout.layoutFields) {
      if (field && field->fieldType == "reference" && field->referenceTo)
        types.push_back(*field->referenceTo);
    }
  }
  return std::string("'").append(joined(types, "','")).append("'");
}

void updateReferenceTypeFields(const std::map<std::string, std::string>& entityApiNames,
                               const CompactLayoutResults& compactLayoutResults) {
  for (const auto& layout : compactLayoutResults.layouts) {
    for (const auto& field : layout.layoutFields) {
      if (!field || !field->referenceTo || !field->relationshipName) continue;
      const auto nameField = entityApiNames.find(*field->referenceTo);
      if (nameField != entityApiNames.end()) {
        field->apiName = *field->relationshipName + "." + nameField->second;
      }
    }
  }
}

}  // namespace vellora
