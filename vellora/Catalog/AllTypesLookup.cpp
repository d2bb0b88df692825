#include "vellora/Catalog/AllTypesLookup.h"

#include <optional>
#include <utility>
#include <vector>

#include "vellora/Catalog/Lists.h"
#include "vellora/Catalog/Reasons.h"
#include "vellora/DataServices/NamedList.h"
#include "vellora/Platform/Publishers/Publisher.h"

namespace vellora {

namespace {

using Types = SObjectsDataService::SObjects;
using Themes = ThemeDataService::Themes;
using Both = std::pair<Types, Result<Themes>>;
using Infos = std::vector<std::pair<std::string, ObjectPresentationInfo>>;

Infos infosOf(const AllTypesLookup& lookup, const Types& types, const Themes* themes) {
  Infos infos;
  for (const auto& type : types->records()) {
    if (!lookup.filter.admits(type)) continue;
    const ThemeItem* entry = themes ? (*themes)->firstNamed(type.name) : nullptr;
    infos.emplace_back(type.name, ObjectPresentationInfo(entry ? std::optional(*entry) : std::nullopt, type,
                                                         lookup.theme, std::nullopt, std::nullopt));
  }
  return infos;
}

void answer(const AllTypesLookup& lookup, const PreparedLists& lists, const Both& both) {
  auto infos = infosOf(lookup, both.first, both.second ? &both.second.value() : nullptr);
  lookup.question->write([lists, infos = std::move(infos)](auto& sheet) mutable {
    sheet.setAge(lists.age());
    if (lists.typesFailure) sheet.trouble(Failure(*lists.typesFailure));
    if (lists.themesFailure) sheet.trouble(Failure(*lists.themesFailure));
    for (auto& [name, info] : infos) sheet.listed(std::move(name), std::move(info));
  });
}

void findBoth(const AllTypesLookup& lookup, const PreparedLists& lists) {
  const auto& services = lookup.session->services;
  const auto fetching = lookup.question->fetching();
  const auto types =
      services.sObjects->allSObjects(lists.typesSource(lookup.source), fetching, lists.loadedTypes);
  const auto themes =
      services.themes->allThemes(lists.themesSource(lookup.source), fetching, lists.loadedThemes).results();
  const auto onBoth = [lookup, lists](const Both& both) { answer(lookup, lists, both); };
  const auto onEnd = [lookup, lists](const Completion& error) {
    if (error) lookup.question->fail(lists.typesFailure.value_or(*error));
  };
  lookup.question->keep(types.combineLatest(themes).sink(onBoth, onEnd));
}

}  // namespace

void AllTypesLookup::start() const {
  const auto find = [lookup = *this](const PreparedLists& lists) { findBoth(lookup, lists); };
  question->keep(session->lists.prepared(source, question->fetching()).sink(find, failing(question)));
}

}  // namespace vellora
