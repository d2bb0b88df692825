#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "vellora/DataServices/DatedLayout.h"
#include "vellora/DataServices/KeyResult.h"
#include "vellora/DataServices/NotCached.h"
#include "vellora/DataServices/Requester.h"
#include "vellora/DataServices/SharedFetch.h"
#include "vellora/DataServices/Source.h"
#include "vellora/DataServices/UrlLength.h"
#include "vellora/Host/NetRequest.h"
#include "vellora/Platform/Publishers/Generated.h"
#include "vellora/Platform/Publishers/Publisher.h"
#include "vellora/Platform/Publishers/SharedRuns.h"
#include "vellora/Platform/Values/Date.h"
#include "vellora/Platform/Values/Error.h"
#include "vellora/Platform/Values/Result.h"

namespace vellora {

/// What a layout service knows of one name: a layout, none, or an error.
template <class Layout>
using LayoutResult = KeyResult<std::optional<DatedLayout<Layout>>>;

/// The layouts that one request has brought.
///
/// Ownership: a plain value.
template <class Layout>
struct FetchedLayouts {
  std::vector<Layout> layouts;
  Date asked;                        ///< when the request was sent: what the server says is no newer
  std::optional<Error> reason = {};  ///< why they are not all that they could be, if they are not
};

template <class Layout>
using DownloadedLayouts = std::shared_ptr<const FetchedLayouts<Layout>>;

/// The types of these layouts.
template <class Layout>
[[nodiscard]] std::vector<std::string> typesOf(const std::vector<Layout>& layouts) {
  std::vector<std::string> types;
  types.reserve(layouts.size());
  for (const auto& layout : layouts) types.push_back(layout.objectType);
  return types;
}

/// How one of the layout services goes about a lookup that tells of each name what became of it.
///
/// Ownership: a plain value. `cached` may hold its service, the others hold it weakly.
template <class Layout>
struct LayoutSteps {
  /// The cached layout of that name.
  std::function<std::optional<DatedLayout<Layout>>(const std::string& name)> cached;
  /// The request for the layouts of those names.
  std::function<std::optional<CorvaneSDK::NetRequest>(const std::vector<std::string>& names)> request;
  /// Sends it, and caches what comes.
  std::function<Publisher<DownloadedLayouts<Layout>>(const std::vector<std::string>& names,
                                                     const Fetching& fetching)>
      downloaded;
};

/// One lookup. It reads the cache for every name, then divides what is missing into requests whose URLs are
/// not too long.
///
/// Ownership: owned by the producer that it makes, until that has been started.
template <class Layout>
class EachLayout {
 public:
  using Known = LayoutResult<Layout>;
  using Names = std::shared_ptr<const std::vector<std::string>>;

  EachLayout(LayoutSteps<Layout> steps, Source source, std::optional<Date> notBefore, Fetching fetching)
      : steps_(std::move(steps)), source_(source), notBefore_(notBefore), fetching_(std::move(fetching)) {}

  /// Yields what is known of each of `names`: of those that the cache answers at once, of the others as the
  /// requests are answered. `downloads` must live until the lookup has been started.
  [[nodiscard]] static Publisher<Known> of(const Names& names,
                                           const SharedRuns<DownloadedLayouts<Layout>>& downloads,
                                           EachLayout how) {
    const auto lookup = std::make_shared<const EachLayout>(std::move(how));
    const auto needed = std::make_shared<Needed>();
    auto fetched = Publisher<Known>::deferred(
        [lookup, needed, &downloads] { return lookup->fetched(*needed, downloads); });
    // One by one: a list of what is known would hold each layout once more.
    return generated<Known>(
        [lookup, names, needed](const auto& yield) { lookup->readCache(*names, *needed, yield); },
        std::move(fetched));
  }

 private:
  using Stale = std::map<std::string, DatedLayout<Layout>>;
  using Parts = std::vector<Publisher<Known>>;

  /// What the server is to be asked for, and what the cache has of it nevertheless.
  struct Needed {
    std::vector<std::string> names;
    std::shared_ptr<Stale> stale = std::make_shared<Stale>();
  };

  /// Starts `parts` in their order, and yields what they yield.
  static Publisher<Known> joint(Parts parts) {
    return Publisher<Publisher<Known>>::sequence(std::move(parts)).flatMap([](const Publisher<Known>& part) {
      return part;
    });
  }

  template <class Yield>
  void readCache(const std::vector<std::string>& names, Needed& needed, const Yield& yield) const {
    for (const auto& name : names) {
      auto cached = steps_.cached(name);
      bool isWanted = true;
      if (cached && isServed(*cached)) {
        isWanted = yield({name, std::move(cached)});
      } else if (source_ == Source::cacheOnly) {
        isWanted = yield({name, Error(NotCached())});
      } else {
        needed.names.push_back(name);
        if (cached) needed.stale->insert_or_assign(name, *std::move(cached));
      }
      if (!isWanted) return;
    }
  }

  [[nodiscard]] Publisher<Known> fetched(const Needed& needed,
                                         const SharedRuns<DownloadedLayouts<Layout>>& downloads) const {
    const auto divided = dividedByUrl(needed.names, [this](const auto& some) { return urlOf(some).size(); });
    Parts parts;
    parts.reserve(divided.size());
    for (const auto& part : divided) {
      parts.push_back(downloaded(part, needed.stale, downloads));
    }
    return joint(std::move(parts));
  }

  [[nodiscard]] bool isServed(const DatedLayout<Layout>& cached) const {
    if (source_ != Source::cacheFirst) return source_ == Source::cacheOnly;
    // What is dated in the future was fetched before the clock was set back: it may be as old as anything.
    if (notBefore_ && (cached.fetched < *notBefore_ || cached.fetched > now())) return false;
    return !cached.isExpired;
  }

  [[nodiscard]] std::string urlOf(const std::vector<std::string>& names) const {
    const auto request = steps_.request(names);
    return request ? request->base().url.absoluteString() : std::string();
  }

  /// Of the fetch that may be joined. One that may have begun before `notBefore` has another.
  [[nodiscard]] std::string keyOf(const std::vector<std::string>& names) const {
    if (!notBefore_) return urlOf(names);
    return urlOf(names) + ' ' + std::to_string(notBefore_->secondsSinceReferenceDate());
  }

  Publisher<Known> downloaded(const std::vector<std::string>& names, const std::shared_ptr<Stale>& stale,
                              const SharedRuns<DownloadedLayouts<Layout>>& downloads) const {
    const auto start = [start = steps_.downloaded, names](const Fetching& attempt) {
      return start(names, attempt);
    };
    return sharedFetch(downloads, keyOf(names), fetching_, start)
        .results()
        .flatMap([names, stale](const Result<DownloadedLayouts<Layout>>& result) {
          std::vector<Known> known;
          known.reserve(names.size());
          for (const auto& name : names) {
            known.push_back(
                {name, result ? found(name, *result.value()) : cachedOr(result.error(), name, *stale)});
          }
          return Publisher<Known>::sequence(std::move(known));
        });
  }

  static std::optional<DatedLayout<Layout>> found(const std::string& name,
                                                  const FetchedLayouts<Layout>& fetched) {
    const auto& layouts = fetched.layouts;
    const auto last = std::find_if(layouts.rbegin(), layouts.rend(),
                                   [&](const Layout& layout) { return layout.objectType == name; });
    if (last == layouts.rend()) return std::nullopt;
    return DatedLayout<Layout>{*last, fetched.asked, false, fetched.reason};
  }

  static Result<std::optional<DatedLayout<Layout>>> cachedOr(const Error& error, const std::string& name,
                                                             const Stale& stale) {
    const auto cached = stale.find(name);
    if (cached == stale.end()) return error;
    auto layout = cached->second;
    layout.reason = error;
    return std::optional(std::move(layout));
  }

  // Constant after construction.
  LayoutSteps<Layout> steps_;
  Source source_;
  std::optional<Date> notBefore_;
  Fetching fetching_;
};

}  // namespace vellora
