#include "vellora/Catalog/RefreshLookup.h"

#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "vellora/Catalog/Lists.h"
#include "vellora/Catalog/Reasons.h"
#include "vellora/DataServices/NamedList.h"
#include "vellora/Models/SObject.h"
#include "vellora/Models/ThemeItem.h"
#include "vellora/Platform/Publishers/Publisher.h"

namespace vellora {

namespace {

using TypesOrError = Result<SObjectsDataService::SObjects>;
using ThemesOrError = Result<ThemeDataService::Themes>;
using ListsOrErrors = std::pair<TypesOrError, ThemesOrError>;
using Changes = std::map<std::string, TypeChange>;
using AskedPtr = std::shared_ptr<detail::Asked<TypeChange>>;

/// What the cache has of both lists.
Publisher<ListsOrErrors> cached(const MetadataServices& services) {
  return services.sObjects->allSObjects(Source::cacheOnly)
      .results()
      .combineLatest(services.themes->allThemes(Source::cacheOnly).results());
}

/// The record of that name in a list that may not be there.
template <class Record>
std::optional<Record> named(const Result<std::shared_ptr<const NamedList<Record>>>& list,
                            const std::string& name) {
  const Record* found = list ? list.value()->firstNamed(name) : nullptr;
  return found ? std::optional(*found) : std::nullopt;
}

std::vector<SObject> recordsOf(const TypesOrError& types) {
  return types ? types.value()->records() : std::vector<SObject>();
}

Changes changesBetween(const ListsOrErrors& before, const ListsOrErrors& after) {
  Changes changes;
  for (const auto& type : recordsOf(before.first)) {
    if (!named(after.first, type.name)) changes.emplace(type.name, TypeChange::removed);
  }
  for (const auto& type : recordsOf(after.first)) {
    const auto old = named(before.first, type.name);
    if (!old) {
      changes.emplace(type.name, TypeChange::added);
    } else if (old != type || named(before.second, type.name) != named(after.second, type.name)) {
      changes.emplace(type.name, TypeChange::changed);
    }
  }
  return changes;
}

void removeLayoutsOf(const MetadataServices& services, const Changes& changes) {
  std::vector<std::string> removed;
  for (const auto& [name, change] : changes) {
    if (change == TypeChange::removed) removed.push_back(name);
  }
  services.layouts->forget(removed);
  services.compactLayouts->forget(removed);
}

void answer(const Session& session, const AskedPtr& question, const PreparedLists& lists,
            const ListsOrErrors& before, const ListsOrErrors& after) {
  if (!after.first) return question->fail(lists.typesFailure.value_or(after.first.error()));
  const auto changes = changesBetween(before, after);
  removeLayoutsOf(session.services, changes);
  if (!lists.typesFailure && !lists.themesFailure) session.services.sObjects->forgetListViews();
  const auto failure = lists.typesFailure ? lists.typesFailure : lists.themesFailure;
  question->write([age = lists.age(), changes, failure](auto& sheet) {
    sheet.setAge(age);
    for (const auto& [name, change] : changes) sheet.listed(name, change);
    if (failure) sheet.fail(*failure);
  });
}

}  // namespace

void refresh(const std::shared_ptr<Session>& session, const AskedPtr& question) {
  session->noteRefresh();
  const auto load = [session, fetching = question->fetching()](const ListsOrErrors& before) {
    return session->lists.renewed(fetching).map(
        [before](PreparedLists lists) { return std::pair(before, std::move(lists)); });
  };
  const auto compare = [session](const std::pair<ListsOrErrors, PreparedLists>& loaded) {
    return cached(session->services).map([loaded](ListsOrErrors after) {
      return std::tuple(loaded.first, loaded.second, std::move(after));
    });
  };
  const auto onEnd = [session,
                      question](const std::tuple<ListsOrErrors, PreparedLists, ListsOrErrors>& found) {
    const auto& [before, lists, after] = found;
    answer(*session, question, lists, before, after);
  };
  question->keep(cached(session->services).flatMap(load).flatMap(compare).sink(onEnd, failing(question)));
}

}  // namespace vellora
