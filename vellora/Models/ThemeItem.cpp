#include "vellora/Models/ThemeItem.h"

#include <algorithm>
#include <functional>

#include "vellora/Platform/Json/JsonCodec.h"

namespace vellora {

namespace {

std::int64_t widthOf(const IconInfo& icon) {
  return icon.width.value_or(0);
}

// `beats` is strict, so that of equally wide icons the first one stays.
template <class Beats>
std::optional<std::string> mostFittingIconUrl(const std::vector<IconInfo>& icons, std::string_view theme,
                                              Beats beats) {
  const IconInfo* ofTheme = nullptr;
  const IconInfo* ofAny = nullptr;
  for (const auto& icon : icons) {
    const auto fitsBetterThan = [&](const IconInfo* best) {
      return !best || beats(widthOf(icon), widthOf(*best));
    };
    if (fitsBetterThan(ofAny)) ofAny = &icon;
    if (widthOf(icon) > 0 && icon.theme == theme && fitsBetterThan(ofTheme)) ofTheme = &icon;
  }
  const auto* chosen = ofTheme ? ofTheme : ofAny;
  return chosen ? std::optional(chosen->url) : std::nullopt;
}

}  // namespace

std::optional<std::string> ThemeItem::color(std::string_view theme) const {
  if (!colors || colors->empty()) return std::nullopt;
  const auto ofTheme = std::find_if(colors->begin(), colors->end(),
                                    [&](const ColorInfo& info) { return info.theme == theme; });
  return (ofTheme == colors->end() ? colors->front() : *ofTheme).color;
}

std::optional<std::string> ThemeItem::svgIconUrl(std::string_view theme) const {
  const auto vectorIcon = std::find_if(icons.begin(), icons.end(), [&](const IconInfo& icon) {
    return icon.theme == theme && icon.contentType == Constants::svgType;
  });
  return vectorIcon == icons.end() ? std::nullopt : std::optional(vectorIcon->url);
}

std::optional<std::string> ThemeItem::smallIconUrl(std::string_view theme) const {
  return mostFittingIconUrl(icons, theme, std::less<>());
}

std::optional<std::string> ThemeItem::largeIconUrl(std::string_view theme) const {
  return mostFittingIconUrl(icons, theme, std::greater<>());
}

VELLORA_JSON_CODECS(ThemeItem)

}  // namespace vellora
