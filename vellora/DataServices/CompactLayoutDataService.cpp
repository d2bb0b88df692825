#include "vellora/DataServices/CompactLayoutDataService.h"

#include <algorithm>
#include <functional>
#include <new>
#include <utility>

#include "vellora/DataServices/ArrivedLayouts.h"
#include "vellora/DataServices/CachedLayouts.h"
#include "vellora/DataServices/CompactLayoutDataServiceError.h"
#include "vellora/DataServices/CompactLayoutRequests.h"
#include "vellora/DataServices/Download.h"
#include "vellora/DataServices/DownloadOrder.h"
#include "vellora/DataServices/EachLayout.h"
#include "vellora/DataServices/Expiry.h"
#include "vellora/DataServices/FailureLog.h"
#include "vellora/DataServices/Joined.h"
#include "vellora/DataServices/LayoutCache.h"
#include "vellora/DataServices/LayoutCompletion.h"
#include "vellora/DataServices/LayoutNames.h"
#include "vellora/DataServices/PartOf.h"
#include "vellora/DataServices/ReferenceTypeFields.h"
#include "vellora/DataServices/Requester.h"
#include "vellora/DataServices/Sending.h"
#include "vellora/DataServices/SharedFetch.h"
#include "vellora/DataServices/Silence.h"
#include "vellora/DataServices/UrlLength.h"
#include "vellora/Models/CompactLayoutCacheEntry.h"
#include "vellora/Models/CompactLayoutResults.h"
#include "vellora/Platform/Json/Description.h"

namespace vellora {

using CorvaneSDK::LogLevel;

namespace {

constexpr std::string_view downloadName = "getCompactLayoutFromNetwork(_:completion:)";

using Cached = DatedLayout<ObjectCompactLayoutInfo>;

std::optional<Cached> dated(LayoutCache& cache, const std::string& name, const Expiry& expiry) {
  auto entry = cache.load<CompactLayoutCacheEntry>(name);
  if (!entry) return std::nullopt;
  return Cached{std::move(entry->compactLayout), entry->downloadedTime, expiry.isPast(entry->downloadedTime)};
}

std::vector<Cached> cachedLayouts(const std::vector<std::string>& names, LayoutCache cache, Expiry expiry) {
  std::vector<Cached> all;
  all.reserve(names.size());
  for (const auto& name : names) {
    if (auto cached = dated(cache, name, expiry)) all.push_back(*std::move(cached));
  }
  return all;
}

/// The fresh layouts, and unless the lookup is complete, all of them: a complete lookup asks no server, and
/// needs nothing to fall back on.
CachedLayouts<ObjectCompactLayoutInfo> divided(std::vector<Cached> entries, bool isComplete) {
  CachedLayouts<ObjectCompactLayoutInfo> cached;
  cached.fresh.reserve(entries.size());
  for (auto& entry : entries) {
    if (!isComplete) cached.found.push_back(entry.layout);
    if (!entry.isExpired) cached.fresh.push_back(std::move(entry.layout));
  }
  return cached;
}

/// What network or decoder said.
const Error& reasonOf(const Error& failure) {
  const auto* ofRequest = failure.as<SObjectsDataServiceError>();
  const auto* request = ofRequest ? ofRequest->request() : nullptr;
  return request && request->reason ? *request->reason : failure;
}

/// The name fields in all of `answers`.
ObjectQualifiedApiNameInfo merged(std::vector<ObjectQualifiedApiNameInfo>&& answers) {
  ObjectQualifiedApiNameInfo all;
  for (auto& answer : answers) {
    for (auto& [type, field] : answer.entityApiNames)
      all.entityApiNames.insert_or_assign(type, std::move(field));
  }
  return all;
}

}  // namespace

/// What a download for `eachLayout` keeps until it is answered.
struct CompactLayoutDataService::Downloading {
  Date asked;
  std::shared_ptr<const DownloadOrder::Turn> turn;
  std::shared_ptr<const ArrivedLayouts::Lot> arrived = {};  ///< until the name fields have come
};

/// Downloaded layouts on their way to the caller, while the server is asked for the name fields of the types
/// that their reference fields point to. Shared by the steps that are left; holds the service weakly.
class CompactLayoutDataService::Resolution {
 public:
  Resolution(std::weak_ptr<CompactLayoutDataService> service, std::vector<std::string> names,
             CompactLayoutResults results, Completion completion)
      : service_(std::move(service)),
        names_(std::move(names)),
        results_(std::move(results)),
        completion_(std::move(completion)) {}

  [[nodiscard]] std::vector<std::string> types() const { return typesReferredTo(results_); }

  /// A log line about the name fields; `progress` is "Getting" or "Updated".
  [[nodiscard]] std::string line(std::string_view progress, std::string_view detail) const {
    return std::string(downloadName)
        .append(": ")
        .append(progress)
        .append(" qualified API names for reference type fields contained in the ")
        .append(joined(names_, ", "))
        .append(" compactLayout(s) - ")
        .append(detail);
  }

  [[nodiscard]] const std::vector<ObjectCompactLayoutInfo>& layouts() const { return results_.layouts; }

  void rewriteFields(const ObjectQualifiedApiNameInfo& names) const {
    updateReferenceTypeFields(names.entityApiNames, results_);
    const auto service = service_.lock();
    if (service) service->logger_->log(line("Updated", describe(names.entityApiNames)), LogLevel::info);
  }

  /// The layouts are not cached, so that the next lookup tries again.
  void answerAsDownloaded(const Error& error) const {
    logFailure(error);
    answerWithCopy(completion_, results_.layouts);
  }

  void answerThenCache() const {
    answerWithCopy(completion_, results_.layouts);
    const auto service = service_.lock();  // only now: the completion may have released the service
    if (service) service->save(results_.layouts);
  }

  void logFailure(const Error& error) const {
    if (const auto service = service_.lock()) {
      logError(*service->logger_, downloadName, ": Qualified API Name network request failed: ", error);
    }
  }

  void cache(const Downloading& download, const Fetching& fetching) const {
    const auto service = service_.lock();
    if (!service) return;
    const auto save = [weak = service_, results = results_, asked = download.asked, turn = download.turn] {
      if (const auto self = weak.lock())
        self->save(results.layouts, asked, turn->overtaken(typesOf(results.layouts)));
    };
    service->names_->noteAndSave(typesOf(results_.layouts), fetching, save);
  }

 private:
  const std::weak_ptr<CompactLayoutDataService> service_;
  const std::vector<std::string> names_;
  const CompactLayoutResults results_;
  const Completion completion_;
};

CompactLayoutDataService::CompactLayoutDataService(const RequiredAPI& api, double cacheTimeout)
    : network_(api.network),
      cache_(api.cache),
      logger_(api.logger),
      cacheTimeout_(cacheTimeout),
      names_(std::make_shared<const LayoutNames>(api.cache, Constants::namesKey)),
      arrived_(std::make_shared<ArrivedLayouts>()),
      order_(std::make_shared<DownloadOrder>()) {}

void CompactLayoutDataService::compactLayoutForApiName(const std::vector<std::string>& names,
                                                       Completion completion) {
  const auto self = weak_from_this().lock();  // the host or the completion may drop the last other reference
  auto entries =
      cachedLayouts(names, LayoutCache(*cache_, *logger_, Constants::keyPrefix), Expiry(cacheTimeout_));
  const bool isComplete = entries.size() == names.size() &&
                          std::none_of(entries.begin(), entries.end(), std::mem_fn(&Cached::isExpired));
  auto cached = divided(std::move(entries), isComplete);
  if (isComplete) {
    if (completion) completion(std::move(cached.fresh), std::nullopt);
    return;
  }
  const auto missing = namesWithoutLayout(names, cached.fresh);
  const FailureLog log(weak_from_this(), *logger_, "compactLayoutForApiName(_:completion:)");
  getCompactLayoutFromNetwork(missing, answerWithCached(std::move(cached), log, std::move(completion)));
}

void CompactLayoutDataService::getCompactLayoutFromNetwork(const std::vector<std::string>& names,
                                                           Completion completion) {
  const auto request = requestToGetCompactLayout(names);
  if (!request) return completion(std::nullopt, std::nullopt);
  download<CompactLayoutResults>(
      *network_, *request, FailureLog(weak_from_this(), *logger_, downloadName),
      [weak = weak_from_this(), names, completion = std::move(completion)](auto answer) {
        if (!answer.body) return completion(std::nullopt, std::move(answer.error));
        const auto self = weak.lock();
        if (!self) return;
        try {
          self->resolveReferenceFields(
              std::make_shared<const Resolution>(weak, names, *std::move(answer.body), completion));
        } catch (const std::bad_alloc&) {
          completion(std::nullopt, noMemoryForAnswer());
        }
      });
}

void CompactLayoutDataService::resolveReferenceFields(const std::shared_ptr<const Resolution>& resolution) {
  const auto entities = quoted(resolution->types());
  logger_->log(resolution->line("Getting", entities), LogLevel::info);
  const auto onValue = [resolution](const auto& names) { resolution->rewriteFields(names); };
  const auto onCompletion = [resolution](const std::optional<Error>& error) {
    error ? resolution->answerAsDownloaded(*error) : resolution->answerThenCache();
  };
  qualifiedApiNamesCancellable_.replace(
      [&] { return qualifiedApiNameAsPublisher(entities).sink(onValue, onCompletion); });
}

Publisher<ObjectQualifiedApiNameInfo> CompactLayoutDataService::qualifiedApiNameAsPublisher(
    const std::string& entities) {
  return sentForNameFields(entities, {});
}

Publisher<ObjectQualifiedApiNameInfo> CompactLayoutDataService::sentForNameFields(const std::string& entities,
                                                                                  const Fetching& fetching) {
  const auto request = nameFieldsRequest(entities);
  if (!request) return Publisher<ObjectQualifiedApiNameInfo>::fail(CompactLayoutDataServiceError::network());
  return sentAtEachSubscription(partOf(weak_from_this(), *network_), *request, Preferred::body, fetching)
      .tryMap(decodedBody<ObjectQualifiedApiNameInfo, CompactLayoutDataServiceError::network>);
}

/// The same for a list of types, in as many requests as their names need, each of which may be sent again. A
/// failure tells the request that it came from.
Publisher<ObjectQualifiedApiNameInfo> CompactLayoutDataService::qualifiedApiNames(
    const std::vector<std::string>& types, const Fetching& fetching) {
  const Fetching first{fetching.requester, 1, fetching.lease};  // the attempts at these are counted anew
  const auto lists = dividedByUrl(types, [](const std::vector<std::string>& some) {
    const auto request = nameFieldsRequest(quoted(some));
    return request ? request->base().url.absoluteString().size() : 0;
  });
  const auto nameFields = [weak = weak_from_this(), first](const std::vector<std::string>& some) {
    const auto request = nameFieldsRequest(quoted(some));
    return retried<ObjectQualifiedApiNameInfo>(first,
                                               [weak, entities = quoted(some)](const Fetching& attempt) {
                                                 const auto self = weak.lock();
                                                 return self ? self->sentForNameFields(entities, attempt)
                                                             : silence<ObjectQualifiedApiNameInfo>();
                                               })
        .mapError([url = request ? request->base().url.absoluteString() : std::string()](const Error& error) {
          return SObjectsDataServiceError::network().ofRequest(url, error);
        });
  };
  if (lists.size() < 2) return nameFields(types);
  return Publisher<std::vector<std::string>>::sequence(lists).flatMap(nameFields).collect().map(merged);
}

Publisher<LayoutResult<ObjectCompactLayoutInfo>> CompactLayoutDataService::eachLayout(
    std::shared_ptr<const std::vector<std::string>> names, Source source, std::optional<Date> notBefore,
    Fetching fetching) {
  using Known = LayoutResult<ObjectCompactLayoutInfo>;
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
    return EachLayout<ObjectCompactLayoutInfo>::of(
        names, self->downloads_,
        {{std::move(cached), requestToGetCompactLayout, std::move(downloaded)}, source, notBefore, fetching});
  });
}

std::optional<DatedLayout<ObjectCompactLayoutInfo>> CompactLayoutDataService::arrived(
    const std::string& name) const {
  return arrived_->named(name);
}

Publisher<CompactLayoutDataService::Downloaded> CompactLayoutDataService::downloadedLayouts(
    const std::vector<std::string>& names, const Fetching& fetching) {
  const auto request = requestToGetCompactLayout(names);
  if (!request) return Publisher<Downloaded>::fail(SObjectsDataServiceError::invalidUrl());
  const FailureLog log(weak_from_this(), *logger_, downloadName);
  // Before it is sent: the network may answer at once.
  const Downloading download{now(), std::make_shared<const DownloadOrder::Turn>(order_)};
  return downloaded<CompactLayoutResults>(*network_, *request, log, fetching)
      .flatMap([weak = weak_from_this(), names, download,
                fetching](const std::shared_ptr<const CompactLayoutResults>& results) {
        const auto self = weak.lock();
        if (!self) return silence<Downloaded>();
        auto arrived = download;
        arrived.arrived =
            std::make_shared<const ArrivedLayouts::Lot>(self->arrived_, results->layouts, download.asked);
        return self->resolved(
            std::make_shared<const Resolution>(weak, names, withOwnFields(*results), nullptr), arrived,
            fetching);
      });
}

/// The layouts with the name fields in place, and cached. Without the name fields they are as they came.
Publisher<CompactLayoutDataService::Downloaded> CompactLayoutDataService::resolved(
    const std::shared_ptr<const Resolution>& resolution, const Downloading& download,
    const Fetching& fetching) {
  using Fetched = FetchedLayouts<ObjectCompactLayoutInfo>;
  const auto types = resolution->types();
  logger_->log(resolution->line("Getting", quoted(types)), LogLevel::info);
  return qualifiedApiNames(askable(types), fetching)
      .results()
      .map([resolution, download, fetching](const Result<ObjectQualifiedApiNameInfo>& names) -> Downloaded {
        const Date asked = download.asked;
        if (!names) {
          resolution->logFailure(reasonOf(names.error()));
          return std::make_shared<const Fetched>(Fetched{resolution->layouts(), asked, names.error()});
        }
        resolution->rewriteFields(names.value());
        resolution->cache(download, fetching);
        return std::make_shared<const Fetched>(Fetched{resolution->layouts(), asked});
      });
}

void CompactLayoutDataService::forget(const std::vector<std::string>& names) const {
  LayoutCache(*cache_, *logger_, Constants::keyPrefix).removeAll(names);
}

void CompactLayoutDataService::forgetNoted() const {
  names_->forgetAllBut(LayoutCache(*cache_, *logger_, Constants::keyPrefix).removeAll(names_->all()));
}

void CompactLayoutDataService::save(const std::vector<ObjectCompactLayoutInfo>& layouts,
                                    std::optional<Date> asked, const std::set<std::string>& overtaken) {
  LayoutCache cache(*cache_, *logger_, Constants::keyPrefix);
  for (const auto& layout : layouts) {
    if (overtaken.contains(layout.objectType)) continue;
    cache.save(layout.objectType, CompactLayoutCacheEntry{layout, asked.value_or(now())},
               "save(key:compactLayout:)");
  }
}

}  // namespace vellora
