#include "apps/vellora/changes/Difference.h"

#include <algorithm>
#include <map>
#include <utility>

namespace vellora::command {

namespace {

std::optional<std::string> textOf(const Properties& properties, const std::string& name) {
  const auto found = std::find_if(properties.begin(), properties.end(),
                                  [&](const auto& property) { return property.first == name; });
  return found == properties.end() ? std::nullopt : std::optional(found->second);
}

/// Makes the second and later ones of a name differ from the first, so that each is told.
Properties numbered(Properties properties) {
  std::map<std::string, int> seen;
  for (auto& [name, text] : properties) {
    const int number = ++seen[name];
    if (number > 1) name += " #" + std::to_string(number);
  }
  return properties;
}

std::string namesOf(const Properties& properties) {
  std::string names;
  for (const auto& [name, text] : properties) names.append(names.empty() ? "" : ", ").append(name);
  return names;
}

std::vector<PropertyChange> changesBetween(const Properties& one, const Properties& other) {
  const auto before = numbered(one);
  const auto after = numbered(other);
  std::vector<PropertyChange> changes;
  for (const auto& [name, text] : before) {
    auto now = textOf(after, name);
    if (now != text) changes.push_back({name, text, std::move(now)});
  }
  for (const auto& [name, text] : after) {
    if (!textOf(before, name)) changes.push_back({name, std::nullopt, text});
  }
  if (changes.empty() && before != after) changes.push_back({orderProperty, namesOf(before), namesOf(after)});
  return changes;
}

void compare(const std::string& what, const Described& before, const Described& after,
             std::vector<Difference>& differences) {
  Described all = before;
  all.insert(after.begin(), after.end());
  for (const auto& [name, properties] : all) {
    const auto old = before.find(name);
    const auto now = after.find(name);
    if (old == before.end()) {
      differences.push_back({what, name, "added", {}});
    } else if (now == after.end()) {
      differences.push_back({what, name, "removed", {}});
    } else if (old->second != now->second) {
      differences.push_back({what, name, "changed", changesBetween(old->second, now->second)});
    }
  }
}

}  // namespace

std::vector<Difference> differencesBetween(const Snapshot& before, const Snapshot& after) {
  std::vector<Difference> differences;
  compare("type", before.types, after.types, differences);
  compare("search layout", before.searchLayouts, after.searchLayouts, differences);
  compare("compact layout", before.compactLayouts, after.compactLayouts, differences);
  return differences;
}

}  // namespace vellora::command
