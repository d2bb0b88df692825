#include "vellora/Services/PresentationLookup.h"

#include <algorithm>

#include "vellora/DataServices/Silence.h"
#include "vellora/DataServices/ThemeDataService.h"
#include "vellora/Platform/Json/Description.h"

namespace vellora {

namespace {

/// The theme entries in the form in which they are asked for, so that none is copied for each record.
std::map<std::string, std::optional<ThemeItem>> lookedUp(std::map<std::string, ThemeItem> items) {
  std::map<std::string, std::optional<ThemeItem>> themes;
  while (!items.empty()) {
    auto item = items.extract(items.begin());
    themes.emplace_hint(themes.end(), std::move(item.key()), std::move(item.mapped()));
  }
  return themes;
}

}  // namespace

void VelloraService::Implementation::PresentationLookup::logStart(std::string_view counted,
                                                                  std::size_t count) const {
  if (const auto facade = facade_.lock())
    facade->log(signature_, {" ", counted, ".count: ", std::to_string(count)});
}

void VelloraService::Implementation::PresentationLookup::logEnd() const {
  if (const auto facade = facade_.lock()) facade->log(signature_);
}

std::vector<std::string> VelloraService::Implementation::PresentationLookup::keepTypes(
    SObjectsById sObjects) {
  types_ = std::move(sObjects);
  std::vector<std::string_view> names;
  for (const auto& [id, found] : types_) {
    if (found.type) names.push_back(found.type->name);
    if (found.instance) names.push_back(found.instance->name);
  }
  std::sort(names.begin(), names.end());
  return {names.begin(), std::unique(names.begin(), names.end())};
}

Publisher<std::map<std::string, ThemeItem>> VelloraService::Implementation::PresentationLookup::themesOf(
    std::vector<std::string> names) const {
  const auto facade = facade_.lock();
  return facade ? facade->services_.themes->themes(std::move(names)) : silence<ThemeItems>();
}

VelloraService::Implementation::Infos VelloraService::Implementation::PresentationLookup::infosOfRecords(
    ThemeItems items) {
  const Themes themes = lookedUp(std::move(items));
  Infos infos;
  std::string line;  // one after the other, in the same memory
  while (!types_.empty()) {
    auto record = types_.extract(types_.begin());  // let go of at once: its memory serves the next
    const auto& found = record.mapped();
    const auto facade = facade_.lock();
    if (!facade) continue;
    line.assign(signature_).append(" typeSObject: ");
    describeTo(line, found.type);
    line.append(", instanceSObject: ");
    describeTo(line, found.instance);
    facade->log(line);
    if (!found.type) continue;
    infos.emplace_hint(infos.end(), std::move(record.key()),
                       facade->createObjectPresentationInfo(*found.type, found.instance, themes, line));
  }
  return infos;
}

void VelloraService::Implementation::PresentationLookup::keepInfos(const SObjectsByName& sObjects,
                                                                   ThemeItems items) {
  const Themes themes = lookedUp(std::move(items));
  std::string line;
  for (const auto& [name, sObject] : sObjects) {
    const auto facade = facade_.lock();
    if (!sObject || !facade) continue;
    infos_.insert_or_assign(name, facade->createObjectPresentationInfo(*sObject, {}, themes, line));
  }
}

}  // namespace vellora
