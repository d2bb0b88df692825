#include "vellora/Catalog/Lists.h"

#include <algorithm>
#include <utility>

namespace vellora {

namespace {

bool isLoadNeeded(const ListState& list, Source source) {
  if (source == Source::cacheFirst) return list.state != CacheState::valid;
  return source == Source::serverFirst;
}

/// After a failed fetch an empty cache has nothing to say, and a server that has just failed is not asked for
/// the same list once for each key.
Source sourceAfter(const std::optional<Error>& failure, const ListState& list, Source wanted) {
  return failure && list.state == CacheState::empty ? Source::cacheOnly : wanted;
}

/// With a time-out of nothing a list is expired as soon as it has come, but it is not stale.
ListState stateAfter(ListState list, bool hasJustCome) {
  if (hasJustCome && list.state == CacheState::expired) list.state = CacheState::valid;
  return list;
}

Readiness readinessAfter(const PreparedLists& lists) {
  if (lists.typesFailure) return Readiness::failed(Failure(*lists.typesFailure));
  if (lists.themesFailure) return Readiness::failed(Failure(*lists.themesFailure));
  return Readiness::ready();
}

/// The error of a load, or none.
template <class List>
std::optional<Error> failureOf(const Result<List>& load) {
  return load ? std::nullopt : std::optional<Error>(load.error());
}

/// What a load has brought; null when it has failed, or there was none.
template <class List>
List broughtBy(const Result<List>& load) {
  return load ? load.value() : List();
}

}  // namespace

Age PreparedLists::age() const {
  Age age;
  age.isStale = types.state == CacheState::expired || themes.state == CacheState::expired;
  age.fetched = types.fetched;
  if (themes.fetched && (!age.fetched || *themes.fetched < *age.fetched)) age.fetched = themes.fetched;
  return age;
}

Source PreparedLists::typesSource(Source wanted) const {
  return sourceAfter(typesFailure, types, wanted);
}

Source PreparedLists::themesSource(Source wanted) const {
  return sourceAfter(themesFailure, themes, wanted);
}

Publisher<PreparedLists> Lists::prepared(Source source, const Fetching& fetching) const {
  return loaded(source, fetching, Joining::any);
}

Publisher<PreparedLists> Lists::renewed(const Fetching& fetching) const {
  return loaded(Source::serverFirst, fetching, Joining::none);
}

Publisher<PreparedLists> Lists::loaded(Source source, const Fetching& fetching, Joining joining) const {
  return Publisher<PreparedLists>::deferred(
      [types = types_, themes = themes_, readiness = readiness_, source, fetching, joining] {
        PreparedLists found{types->listState(), themes->listState(), std::nullopt, std::nullopt, {}, {}};
        const bool typesNeeded = isLoadNeeded(found.types, source);
        const bool themesNeeded = isLoadNeeded(found.themes, source);
        if (!typesNeeded && !themesNeeded) {
          if (source == Source::cacheFirst) readiness.noteUnlessLoaded(Readiness::ready());
          return Publisher<PreparedLists>::just(std::move(found));
        }
        using Types = SObjectsDataService::SObjects;
        using Themes = ThemeDataService::Themes;
        const bool isJoining = joining == Joining::any;
        const bool mayBeCached = source == Source::cacheFirst;
        const auto fetchedTypes = [&] {
          if (mayBeCached) return types->currentSObjects(fetching);
          return isJoining ? types->renewedSObjects(fetching) : types->sObjectsFromNowOn(fetching);
        };
        const auto fetchedThemes = [&] {
          if (mayBeCached) return themes->currentThemes(fetching);
          return isJoining ? themes->renewedThemes(fetching) : themes->themesFromNowOn(fetching);
        };
        const auto typesLoad = (typesNeeded ? fetchedTypes() : Publisher<Types>::just(nullptr)).results();
        const auto themesLoad = (themesNeeded ? fetchedThemes() : Publisher<Themes>::just(nullptr)).results();
        return typesLoad.combineLatest(themesLoad).map([=](const auto& loads) {
          PreparedLists after{stateAfter(types->listState(), typesNeeded && loads.first),
                              stateAfter(themes->listState(), themesNeeded && loads.second),
                              failureOf(loads.first),
                              failureOf(loads.second),
                              broughtBy(loads.first),
                              broughtBy(loads.second)};
          readiness.noteLoad(readinessAfter(after));
          return after;
        });
      });
}

}  // namespace vellora
