#include "vellora/Models/PresentationInfo.h"

#include "vellora/Platform/Json/JsonCodec.h"

namespace vellora {

PresentationInfo::PresentationInfo(const std::optional<ThemeItem>& themeItem, const SObject& sobject,
                                   std::string_view theme)
    : label(sobject.label),
      labelPlural(sobject.labelPlural),
      createable(sobject.createable),
      apiName_(sobject.name) {
  if (!themeItem) return;
  color = themeItem->color(theme);
  svgIconUrl = themeItem->svgIconUrl(theme);
  smallIconUrl = themeItem->smallIconUrl(theme);
  largeIconUrl = themeItem->largeIconUrl(theme);
}

VELLORA_JSON_CODECS(PresentationInfo)

}  // namespace vellora
