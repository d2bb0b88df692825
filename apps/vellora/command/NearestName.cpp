#include "apps/vellora/command/NearestName.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "vellora/Platform/Text/AsciiCase.h"

namespace vellora::command {

namespace {

/// What is longer is no typing error, and comparing it would take long.
constexpr std::size_t longest = 200;

/// How many letters are to be added, taken away, replaced or swapped with the next one.
std::size_t corrections(std::string_view from, std::string_view to) {
  const std::size_t width = to.size() + 1;
  std::vector<std::size_t> cost((from.size() + 1) * width);
  const auto at = [&](std::size_t i, std::size_t j) -> std::size_t& { return cost[i * width + j]; };
  for (std::size_t i = 0; i <= from.size(); ++i) at(i, 0) = i;
  for (std::size_t j = 0; j <= to.size(); ++j) at(0, j) = j;
  for (std::size_t i = 1; i <= from.size(); ++i) {
    for (std::size_t j = 1; j <= to.size(); ++j) {
      const std::size_t replaced = at(i - 1, j - 1) + (from[i - 1] == to[j - 1] ? 0 : 1);
      at(i, j) = std::min({at(i - 1, j) + 1, at(i, j - 1) + 1, replaced});
      const bool areSwapped = i > 1 && j > 1 && from[i - 1] == to[j - 2] && from[i - 2] == to[j - 1];
      if (areSwapped) at(i, j) = std::min(at(i, j), at(i - 2, j - 2) + 1);
    }
  }
  return at(from.size(), to.size());
}

/// Half of the letters and three corrections at most, and three of a long word only: more is another word.
bool isNear(std::size_t count, std::size_t letters) {
  constexpr std::size_t most = 3;
  constexpr std::size_t manyLetters = 8;
  return count <= most && 2 * count <= letters && (count < most || letters >= manyLetters);
}

std::optional<std::string> onlyOneThatBeginsWith(std::string_view beginning,
                                                 const std::vector<std::string>& names) {
  constexpr std::size_t fewestLetters = 3;
  if (beginning.size() < fewestLetters) return std::nullopt;
  const auto begins = [&](const std::string& name) { return asciiLowerCase(name).starts_with(beginning); };
  const auto found = std::find_if(names.begin(), names.end(), begins);
  if (found == names.end() || std::any_of(found + 1, names.end(), begins)) return std::nullopt;
  return *found;
}

std::optional<std::string> closest(std::string_view lower, const std::vector<std::string>& names) {
  std::optional<std::pair<std::size_t, std::string>> best;
  for (const auto& name : names) {
    if (name.size() > longest) continue;
    const std::size_t letters = std::max(lower.size(), name.size());
    const std::size_t difference = letters - std::min(lower.size(), name.size());
    if (!isNear(difference, letters)) continue;
    const std::size_t count = corrections(lower, asciiLowerCase(name));
    if (isNear(count, letters) && (!best || count < best->first)) best = {count, name};
  }
  return best ? std::optional(best->second) : std::nullopt;
}

}  // namespace

std::optional<std::string> nearestName(std::string_view typed, const std::vector<std::string>& names) {
  if (typed.empty() || typed.size() > longest) return std::nullopt;
  const auto same = std::find_if(names.begin(), names.end(), [&](const std::string& name) {
    return equalIgnoringAsciiCase(typed, name);
  });
  if (same != names.end()) return *same;
  const std::string lower = asciiLowerCase(typed);
  if (auto only = onlyOneThatBeginsWith(lower, names)) return only;
  return closest(lower, names);
}

}  // namespace vellora::command
