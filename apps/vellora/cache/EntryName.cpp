#include "apps/vellora/cache/EntryName.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <optional>
#include <string_view>
#include <utility>

namespace vellora::command {

namespace {

using Pair = std::pair<std::string_view, std::string_view>;

constexpr Pair wholeNames[] = {
    {"OPS_SObjectsCacheTable/cacheEntryType=sObjects", "types"},
    {"OPS_SObjectsCacheTable/cacheEntryType=keyPrefixes", "prefixes"},
    {"OPS_ThemesCacheTable/cacheEntryType=themes", "themes"},
    {"OPS_SObjectsCacheTable/cacheEntryType=keptBodyKey", "kept-body-key"},
    {"ops.sobject.fetch.timestamp", "types-fetched"},
    {"ops.theme.fetch.timestamp", "themes-fetched"},
    {"OPS_LayoutNames", "layout-names"},
    {"OPS_CompactLayoutNames", "compact-layout-names"},
};

constexpr Pair beginnings[] = {
    {"OPS_SObjectsCacheTable/cacheEntryType=sObject,name=", "type/"},
    {"OPS_SObjectsCacheTable/cacheEntryType=keyPrefix,keyPrefix=", "prefix/"},
    {"OPS_SObjectsCacheTable/cacheEntryType=listView,id=", "list-view/"},
    {"OPS_ThemesCacheTable/cacheEntryType=theme,name=", "theme/"},
    {"OPS_Layout_", "layout/"},
    {"OPS_CompactLayout_", "compact-layout/"},
};

/// "kept-body/" and the first digits of the digest that names the request, which tell it from the few others.
std::optional<std::string> nameOfKeptBody(std::string_view entry) {
  constexpr std::string_view begin = "OPS_SObjectsCacheTable/bytes=";
  constexpr std::string_view kind = ",cacheEntryType=keptBody,request=";
  constexpr std::size_t digits = 12;
  const auto at = entry.find(kind);
  if (!entry.starts_with(begin) || at == std::string_view::npos) return std::nullopt;
  return std::string("kept-body/").append(entry.substr(at + kind.size(), digits));
}

template <class Is>
std::vector<CacheListing> those(const std::vector<CacheListing>& listings, Is is) {
  std::vector<CacheListing> found;
  std::copy_if(listings.begin(), listings.end(), std::back_inserter(found), is);
  return found;
}

}  // namespace

std::string shortName(const std::string& entry) {
  for (const auto& [name, shown] : wholeNames) {
    if (entry == name) return std::string(shown);
  }
  for (const auto& [beginning, shown] : beginnings) {
    if (entry.starts_with(beginning) && entry.size() > beginning.size())
      return std::string(shown) + entry.substr(beginning.size());
  }
  return nameOfKeptBody(entry).value_or(entry);
}

std::vector<CacheListing> entriesNamed(const std::string& name, const std::vector<CacheListing>& listings) {
  auto found = those(listings, [&](const auto& listing) { return listing.entry == name; });
  if (!found.empty()) return found;
  return those(listings, [&](const auto& listing) { return shortName(listing.entry) == name; });
}

}  // namespace vellora::command
