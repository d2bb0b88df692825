#include "apps/vellora/lookups/ThemeNote.h"

#include <cstddef>
#include <set>

#include "apps/vellora/command/Output.h"
#include "vellora/DataServices/CacheInspection.h"
#include "vellora/Models/ThemeItem.h"

namespace vellora::command {

namespace {

std::set<std::string> themesIn(CorvaneSDK::Cache& cache) {
  std::set<std::string> names;
  for (const auto& entry : cachedThemes(cache)) {
    if (entry.colors) {
      for (const auto& color : *entry.colors) names.insert(color.theme);
    }
    for (const auto& icon : entry.icons) names.insert(icon.theme);
  }
  return names;
}

}  // namespace

std::optional<std::string> themeNote(const std::string& theme, CorvaneSDK::Cache& cache) {
  constexpr std::size_t most = 10;
  const auto names = themesIn(cache);
  if (names.empty() || names.contains(theme)) return std::nullopt;
  std::string list;
  std::size_t count = 0;
  for (const auto& name : names) {
    if (count++ < most) list.append(list.empty() ? "" : ", ").append(keyText(name));
  }
  if (count > most) list += " and " + std::to_string(count - most) + " more";
  return "the server has no theme " + keyText(theme) + "; it has " + list +
         ", whose colours and icons stand in";
}

}  // namespace vellora::command
