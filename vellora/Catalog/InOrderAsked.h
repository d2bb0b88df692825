#pragma once

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "vellora/Catalog/Keys.h"

namespace vellora {

/// The entries of an answer whose keys `asked` names, in that order and each once:
///
///     for (const auto* entry : inOrderAsked(answer.found, ids)) show(entry->first, entry->second);
///
/// Ownership: points into `entries`, which must not change meanwhile.
template <class T>
[[nodiscard]] std::vector<const typename std::map<std::string, T>::value_type*> inOrderAsked(
    const std::map<std::string, T>& entries, const Keys& asked) {
  std::vector<const typename std::map<std::string, T>::value_type*> ordered;
  ordered.reserve(entries.size());
  std::set<std::string_view> seen;
  for (const auto& key : asked.list()) {
    const auto entry = entries.find(key);
    if (entry != entries.end() && seen.insert(key).second) ordered.push_back(&*entry);
  }
  return ordered;
}

/// All entries, in the order of their keys: of a question that names none.
template <class T>
[[nodiscard]] std::vector<const typename std::map<std::string, T>::value_type*> inOrderOfKeys(
    const std::map<std::string, T>& entries) {
  std::vector<const typename std::map<std::string, T>::value_type*> ordered;
  ordered.reserve(entries.size());
  for (const auto& entry : entries) ordered.push_back(&entry);
  return ordered;
}

}  // namespace vellora
