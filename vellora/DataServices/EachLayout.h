#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "vellora/DataServices/DatedLayout.h"
#include "vellora/DataServices/KeyResult.h"
#include "vellora/DataServices/NotCached.h"
#include "vellora/DataServices/Requester.h"
#include "vellora/DataServices/SObjectsDataServiceError.h"
#include "vellora/DataServices/SharedFetch.h"
#include "vellora/DataServices/Source.h"
#include "vellora/DataServices/UrlLength.h"
#include "vellora/Host/NetRequest.h"
#include "vellora/Platform/Publishers/Promise.h"
#include "vellora/Platform/Publishers/Publisher.h"
#include "vellora/Platform/Publishers/SharedRuns.h"
#include "vellora/Platform/Values/Date.h"
#include "vellora/Platform/Values/OutOfMemory.h"
#include "vellora/Platform/Values/Result.h"

namespace vellora {

/// What a layout service knows of one name: a layout, none, or an error.
template <class Layout>
using LayoutResult = KeyResult<std::optional<DatedLayout<Layout>>>;

/// The layouts that one request has brought.
template <class Layout>
using DownloadedLayouts = std::shared_ptr<const std::vector<Layout>>;

/// What `download(completion)` answers, as a producer: it is called now, once, with a completion of the
/// layout services' form.
template <class Layout, class StartDownload>
[[nodiscard]] Publisher<DownloadedLayouts<Layout>> downloadedBy(StartDownload download) {
  using Downloaded = DownloadedLayouts<Layout>;
  return Publisher<Downloaded>::promise([&](const Promise<Downloaded>& promise) {
    download([promise](std::optional<std::vector<Layout>> layouts,
                       const std::optional<SObjectsDataServiceError>& error) {
      try {
        if (layouts) return promise.succeed(std::make_shared<const std::vector<Layout>>(*std::move(layouts)));
        promise.fail(error.value_or(SObjectsDataServiceError::invalidUrl()));
      } catch (const std::bad_alloc&) {  // it would end in the host's network
        promise.fail(outOfMemory());
      }
    });
  });
}

/// How one of the layout services goes about a lookup that tells of each name what became of it.
///
/// Ownership: a plain value. The functions hold their service weakly.
template <class Layout>
struct LayoutSteps {
  /// The cached layout of that name.
  std::function<std::optional<DatedLayout<Layout>>(const std::string& name)> cached;
  /// Whether an expired layout is served as long as it is there.
  bool servesExpired = false;
  /// The request for the layouts of those names.
  std::function<std::optional<CorvaneSDK::NetRequest>(const std::vector<std::string>& names)> request;
  /// Sends it, and caches what comes.
  std::function<Publisher<DownloadedLayouts<Layout>>(const std::vector<std::string>& names,
                                                     const Fetching& fetching)>
      downloaded;
};

/// One lookup. It reads the cache for every name, then divides what is missing into requests whose URLs are
/// not too long.
template <class Layout>
class EachLayout {
 public:
  using Known = LayoutResult<Layout>;

  EachLayout(LayoutSteps<Layout> steps, Source source, std::optional<Date> notBefore, Fetching fetching)
      : steps_(std::move(steps)), source_(source), notBefore_(notBefore), fetching_(std::move(fetching)) {}

  /// Yields what is known of each of `names`: of those that the cache answers first, of the others as the
  /// requests are answered.
  [[nodiscard]] Publisher<Known> of(const std::vector<std::string>& names,
                                    const SharedRuns<DownloadedLayouts<Layout>>& downloads) const {
    std::vector<Publisher<Known>> parts;
    Missing missing;
    parts.push_back(Publisher<Known>::sequence(fromCache(names, missing)));
    for (auto& part : dividedByUrl(missing.names, [this](const auto& some) { return urlOf(some).size(); })) {
      parts.push_back(downloaded(part, missing.stale, downloads));
    }
    return Publisher<Publisher<Known>>::sequence(std::move(parts)).flatMap([](const Publisher<Known>& part) {
      return part;
    });
  }

 private:
  using Stale = std::map<std::string, DatedLayout<Layout>>;

  /// What the server is to be asked for, and what the cache has of it nevertheless.
  struct Missing {
    std::vector<std::string> names;
    std::shared_ptr<Stale> stale = std::make_shared<Stale>();
  };

  std::vector<Known> fromCache(const std::vector<std::string>& names, Missing& missing) const {
    std::vector<Known> known;
    for (const auto& name : names) {
      auto cached = steps_.cached(name);
      if (cached && isServed(*cached)) {
        known.push_back({name, std::optional(*std::move(cached))});
      } else if (source_ == Source::cacheOnly) {
        known.push_back({name, Error(NotCached())});
      } else {
        missing.names.push_back(name);
        if (cached) missing.stale->insert_or_assign(name, *std::move(cached));
      }
    }
    return known;
  }

  [[nodiscard]] bool isServed(const DatedLayout<Layout>& cached) const {
    if (source_ != Source::cacheFirst) return source_ == Source::cacheOnly;
    if (notBefore_ && cached.fetched < *notBefore_) return false;
    return steps_.servesExpired || !cached.isExpired;
  }

  [[nodiscard]] std::string urlOf(const std::vector<std::string>& names) const {
    const auto request = steps_.request(names);
    return request ? request->base().url.absoluteString() : std::string();
  }

  Publisher<Known> downloaded(const std::vector<std::string>& names, const std::shared_ptr<Stale>& stale,
                              const SharedRuns<DownloadedLayouts<Layout>>& downloads) const {
    const auto start = [start = steps_.downloaded, names](const Fetching& attempt) {
      return start(names, attempt);
    };
    return sharedFetch(downloads, urlOf(names), fetching_, start)
        .results()
        .flatMap([names, stale](const Result<DownloadedLayouts<Layout>>& result) {
          std::vector<Known> known;
          for (const auto& name : names) {
            known.push_back(
                {name, result ? found(name, *result.value()) : cachedOr(result.error(), name, *stale)});
          }
          return Publisher<Known>::sequence(std::move(known));
        });
  }

  static std::optional<DatedLayout<Layout>> found(const std::string& name,
                                                  const std::vector<Layout>& layouts) {
    const auto last = std::find_if(layouts.rbegin(), layouts.rend(),
                                   [&](const Layout& layout) { return layout.objectType == name; });
    if (last == layouts.rend()) return std::nullopt;
    return DatedLayout<Layout>{*last, now()};
  }

  static Result<std::optional<DatedLayout<Layout>>> cachedOr(const Error& error, const std::string& name,
                                                             const Stale& stale) {
    const auto cached = stale.find(name);
    if (cached == stale.end()) return error;
    auto layout = cached->second;
    layout.reason = error;
    return std::optional(std::move(layout));
  }

  const LayoutSteps<Layout> steps_;
  const Source source_;
  const std::optional<Date> notBefore_;
  const Fetching fetching_;
};

}  // namespace vellora
