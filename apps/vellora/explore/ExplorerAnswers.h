#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "apps/vellora/explore/Activity.h"
#include "apps/vellora/explore/ShownFailure.h"
#include "apps/vellora/lookups/CacheStatus.h"
#include "vellora/Models/ObjectCompactLayoutInfo.h"
#include "vellora/Models/ObjectLayoutInfo.h"
#include "vellora/Models/PresentationInfo.h"
#include "vellora/Platform/Json/Json.h"

namespace vellora::explore {

/// What the page shows of the prefetch, the caches and the activity.
struct ExplorerState {
  std::string server;
  std::string theme;
  bool reachable = true;  ///< false while the page has taken the server away
  std::string prefetch;   ///< "isLoading", "loaded" or "failed"
  std::optional<std::string> error = {};
  std::optional<ShownFailure> trouble = {};  ///< what `error` is about
  bool ready = false;                        ///< loaded, and nothing expired since
  command::CacheStatus themes;
  command::CacheStatus sObjects;
  std::int64_t changes = 0;  ///< the number of the latest `TypeChanges`
  ActivityTotals totals;
  std::vector<ActivityEntry> entries;

  static constexpr auto fields() {
    return std::tuple(
        json::field("server", &ExplorerState::server), json::field("theme", &ExplorerState::theme),
        json::field("reachable", &ExplorerState::reachable),
        json::field("prefetch", &ExplorerState::prefetch), json::field("error", &ExplorerState::error),
        json::field("trouble", &ExplorerState::trouble), json::field("ready", &ExplorerState::ready),
        json::field("themes", &ExplorerState::themes), json::field("sObjects", &ExplorerState::sObjects),
        json::field("changes", &ExplorerState::changes), json::field("totals", &ExplorerState::totals),
        json::field("entries", &ExplorerState::entries));
  }
};

/// A presentation, and the ids of those of its icons that can be shown.
struct ShownPresentation {
  PresentationInfo info;
  std::optional<std::string> svgIcon;
  std::optional<std::string> smallIcon;
  std::optional<std::string> largeIcon;

  static constexpr auto fields() {
    return std::tuple(json::field("info", &ShownPresentation::info),
                      json::field("svgIcon", &ShownPresentation::svgIcon),
                      json::field("smallIcon", &ShownPresentation::smallIcon),
                      json::field("largeIcon", &ShownPresentation::largeIcon));
  }
};

/// What a lookup brought, and where that came from: "cache", "network" or "nowhere".
struct PresentationAnswer {
  std::string source;
  std::optional<std::string> failure = {};   ///< what keeps it from being fuller or fresher
  std::optional<ShownFailure> trouble = {};  ///< what `failure` is about, where a request or an answer failed
  std::map<std::string, ShownPresentation> presentations = {};

  /// Why other names have none; absent when there is no such name. The server doesn't know those that are in
  /// neither.
  std::optional<std::map<std::string, std::string>> missing = {};

  static constexpr auto fields() {
    return std::tuple(json::field("source", &PresentationAnswer::source),
                      json::field("failure", &PresentationAnswer::failure),
                      json::field("trouble", &PresentationAnswer::trouble),
                      json::field("presentations", &PresentationAnswer::presentations),
                      json::field("missing", &PresentationAnswer::missing));
  }
};

/// The same for one layout; absent where there is none.
template <class Layout>
struct LayoutAnswer {
  std::string source;
  std::optional<std::string> failure = {};
  std::optional<ShownFailure> trouble = {};
  std::optional<Layout> layout = {};

  static constexpr auto fields() {
    return std::tuple(
        json::field("source", &LayoutAnswer::source), json::field("failure", &LayoutAnswer::failure),
        json::field("trouble", &LayoutAnswer::trouble), json::field("layout", &LayoutAnswer::layout));
  }
};

/// How a refresh has ended. What it has changed stands in the latest `TypeChanges`.
struct RefreshAnswer {
  std::optional<std::string> failure = {};  ///< absent when both lists were fetched
  std::optional<ShownFailure> trouble = {};

  static constexpr auto fields() {
    return std::tuple(json::field("failure", &RefreshAnswer::failure),
                      json::field("trouble", &RefreshAnswer::trouble));
  }
};

/// Which of several types lack a layout.
struct LackingLayouts {
  std::vector<std::string> searchColumns;         ///< those for which the server has no search columns
  std::vector<std::string> headlines;             ///< those for which it has no headline
  std::map<std::string, std::string> unanswered;  ///< of which that isn't known, and why

  static constexpr auto fields() {
    return std::tuple(json::field("searchColumns", &LackingLayouts::searchColumns),
                      json::field("headlines", &LackingLayouts::headlines),
                      json::field("unanswered", &LackingLayouts::unanswered));
  }
};

using SearchLayoutAnswer = LayoutAnswer<ObjectLayoutInfo>;
using CompactLayoutAnswer = LayoutAnswer<ObjectCompactLayoutInfo>;

}  // namespace vellora::explore
