#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace vellora {

/// In bytes: how long a request's path and query may be. Many servers refuse more than 8 kB, of which the
/// server's own address takes a part.
inline constexpr std::size_t longestUrl = 8000;

/// In bytes, each of which may take three in a URL: how long a name or an id may be that goes into one.
inline constexpr std::size_t longestName = 2000;

/// Divides `names`, in their order, into lists whose requests are not longer than `longest`; a name that is
/// too long by itself has a list of its own. `lengthOf` tells how long the request for a list of names is;
/// it must grow by the same number of bytes with a name, whatever others there are.
template <class LengthOf>
[[nodiscard]] std::vector<std::vector<std::string>> dividedByUrl(const std::vector<std::string>& names,
                                                                 LengthOf lengthOf,
                                                                 std::size_t longest = longestUrl) {
  std::vector<std::vector<std::string>> lists;
  if (names.empty()) return lists;
  if (lengthOf(names) <= longest) return {names};
  const std::size_t none = lengthOf(std::vector<std::string>());
  const std::size_t separator = lengthOf(std::vector<std::string>(2)) - none;
  std::size_t length = 0;
  for (const auto& name : names) {
    const std::size_t own = lengthOf(std::vector<std::string>{name}) - none;
    if (lists.empty() || length + separator + own > longest) {
      lists.emplace_back();
      length = none + own;
    } else {
      length += separator + own;
    }
    lists.back().push_back(name);
  }
  return lists;
}

}  // namespace vellora
