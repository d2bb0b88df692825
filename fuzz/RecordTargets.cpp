#include "fuzz/RecordTargets.h"

#include <algorithm>
#include <map>
#include <optional>
#include <string>

#include "vellora/Models/CompactLayoutCacheEntry.h"
#include "vellora/Models/CompactLayoutResults.h"
#include "vellora/Models/ListViewObjectRecords.h"
#include "vellora/Models/ObjectLayoutInfoCacheEntry.h"
#include "vellora/Models/ObjectPresentationInfo.h"
#include "vellora/Models/ObjectQualifiedApiNameInfo.h"
#include "vellora/Models/SObjectsResponse.h"
#include "vellora/Models/ThemeResponse.h"
#include "vellora/Platform/Json/Json.h"

namespace vellora::fuzz {

namespace {

constexpr std::size_t longestDescription = 4096;

template <class T>
void survivesCoding(const T& value) {
  const auto text = json::encode(value);
  require(text.hasValue(), "what was decoded has a JSON form");
  const auto again = json::decode<T>(text.value());
  require(again.hasValue(), "what was encoded decodes");
  require(again.value() == value, "what was encoded decodes to an equal value");
  require(json::encode(again.value()).value() == text.value(), "equal values have one JSON form");
}

// Lists and answers that are never encoded as a whole are cached by their elements.

void survivesCoding(const std::vector<ObjectLayoutInfo>& layouts) {
  for (const auto& layout : layouts) survivesCoding(ObjectLayoutInfoCacheEntry{layout, {}});
}

void survivesCoding(const CompactLayoutResults& results) {
  for (const auto& layout : results.layouts) survivesCoding(CompactLayoutCacheEntry{layout, {}});
}

void survivesCoding(const std::string& text) {
  const auto encoded = json::encode(text);
  require(encoded.hasValue(), "what was decoded has a JSON form");
  require(json::decode<std::string>(encoded.value()).value() == text, "a text is read back as it was");
}

/// What is shown of a theme entry is taken from it, and from it alone.
void presents(const ThemeItem& item) {
  const PresentationInfo shown(item, SObject{item.name, {}, "one", "many", true}, "light");
  survivesCoding(shown);
  const auto isIcon = [&](const std::optional<std::string>& url) {
    return !url || std::ranges::any_of(item.icons, [&](const auto& icon) { return icon.url == *url; });
  };
  require(isIcon(shown.svgIconUrl) && isIcon(shown.smallIconUrl) && isIcon(shown.largeIconUrl),
          "an icon that is shown is one of the entry's");
  require(shown.smallIconUrl.has_value() == !item.icons.empty(),
          "where there are icons one is shown as small");
  require(shown.largeIconUrl.has_value() == !item.icons.empty(),
          "where there are icons one is shown as large");
  require(shown.color.has_value() == (item.colors && !item.colors->empty()),
          "where there are colours one is shown");
}

template <class T>
void presentsThemes(const T&) {}

void presentsThemes(const ThemeResponse& response) {
  std::ranges::for_each(response.themeItems, presents);
}

void presentsThemes(const ThemeItem& item) {
  presents(item);
}

void isOneShortLine(const std::string& description) {
  require(!description.empty() && description.size() <= longestDescription, "a refusal is short");
  require(std::ranges::none_of(description, [](char c) { return static_cast<unsigned char>(c) < 0x20; }),
          "a refusal is one line");
}

template <class T>
void run(const Data& input) {
  const auto value = json::decode<T>(input);
  if (!value) return isOneShortLine(value.error().localizedDescription());
  survivesCoding(value.value());
  presentsThemes(value.value());
}

}  // namespace

std::vector<Target> recordTargets() {
  return {
      {"ObjectListResponse", run<SObjectsResponse>},
      {"CachedObjectList", run<std::vector<SObject>>},
      {"CachedObject", run<SObject>},
      {"CachedKeyPrefixes", run<std::map<std::string, std::string>>},
      {"CachedName", run<std::string>},
      {"ListViewResponse", run<ListViewObjectRecords>},
      {"ThemeResponse", run<ThemeResponse>},
      {"CachedThemeList", run<std::vector<ThemeItem>>},
      {"CachedTheme", run<ThemeItem>},
      {"PresentationInfo", run<PresentationInfo>},
      {"ObjectPresentationInfo", run<ObjectPresentationInfo>},
      {"SearchLayoutResponse", run<std::vector<ObjectLayoutInfo>>},
      {"CachedSearchLayout", run<ObjectLayoutInfoCacheEntry>},
      {"CompactLayoutResponse", run<CompactLayoutResults>},
      {"CachedCompactLayout", run<CompactLayoutCacheEntry>},
      {"NameFieldResponse", run<ObjectQualifiedApiNameInfo>},
  };
}

}  // namespace vellora::fuzz
