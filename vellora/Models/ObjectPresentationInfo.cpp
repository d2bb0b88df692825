#include "vellora/Models/ObjectPresentationInfo.h"

#include <map>
#include <optional>
#include <string>

#include "vellora/Platform/Json/JsonCodec.h"

namespace vellora {

ObjectPresentationInfo::ObjectPresentationInfo(const std::optional<ThemeItem>& typeTheme,
                                               const SObject& typeSObject, std::string_view theme,
                                               const std::optional<ThemeItem>& instanceTheme,
                                               const std::optional<SObject>& instanceSObject)
    : typePresentationInfo(typeTheme, typeSObject, theme) {
  if (instanceTheme && instanceSObject)
    instancePresentationInfo.emplace(instanceTheme, *instanceSObject, theme);
}

VELLORA_JSON_CODECS(ObjectPresentationInfo)
template Result<Data> json::encode(const std::optional<std::map<std::string, ObjectPresentationInfo>>& value);

}  // namespace vellora
