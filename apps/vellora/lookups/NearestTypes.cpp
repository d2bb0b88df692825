#include "apps/vellora/lookups/NearestTypes.h"

#include <algorithm>
#include <cstddef>

#include "apps/vellora/command/NearestName.h"
#include "vellora/DataServices/CacheInspection.h"
#include "vellora/Platform/Text/AsciiCase.h"

namespace vellora::command {

std::optional<std::string> nearestType(std::string_view typed, const std::vector<SObject>& types) {
  const auto isCalled = [&](const SObject& type) {
    return equalIgnoringAsciiCase(typed, type.name) || equalIgnoringAsciiCase(typed, type.label) ||
           equalIgnoringAsciiCase(typed, type.labelPlural);
  };
  const auto called = std::find_if(types.begin(), types.end(), isCalled);
  if (!typed.empty() && called != types.end()) return called->name;
  std::vector<std::string> names;
  names.reserve(types.size());
  for (const auto& type : types) names.push_back(type.name);
  return nearestName(typed, names);
}

std::map<std::string, std::string> nearestTypes(const std::map<std::string, Missing>& missing,
                                                CorvaneSDK::Cache& cache) {
  constexpr std::size_t most = 10;
  std::vector<std::string> unknown;
  for (const auto& [key, why] : missing) {
    const bool isUnknown = why.why() == Missing::Why::unknown || why.why() == Missing::Why::notCached;
    if (isUnknown && unknown.size() < most) unknown.push_back(key);
  }
  std::map<std::string, std::string> nearest;
  if (unknown.empty()) return nearest;
  const auto types = cachedSObjects(cache);
  for (const auto& key : unknown) {
    auto name = nearestType(key, types);
    if (name && *name != key) nearest.emplace(key, *std::move(name));
  }
  return nearest;
}

}  // namespace vellora::command
