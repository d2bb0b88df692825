#pragma once

#include <optional>
#include <string_view>

#include "vellora/Models/PresentationInfo.h"
#include "vellora/Models/SObject.h"
#include "vellora/Models/ThemeItem.h"
#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// What the presentation lookups answer for one record or one object type.
struct VELLORA_EXPORT ObjectPresentationInfo {
  ObjectPresentationInfo() = default;

  /// The type is described with or without a theme entry: it is what was asked for. The instance is described
  /// only when both its type and its theme entry are known: without icons of its own it would tell the user
  /// no more than the type does.
  ObjectPresentationInfo(const std::optional<ThemeItem>& typeTheme, const SObject& typeSObject,
                         std::string_view theme, const std::optional<ThemeItem>& instanceTheme,
                         const std::optional<SObject>& instanceSObject);

  PresentationInfo typePresentationInfo;  ///< of the type that the key stands for
  std::optional<PresentationInfo>
      instancePresentationInfo;  ///< of a more specific type that one record stands for

  static constexpr std::string_view recordName = "ObjectPresentationInfo";
  static constexpr auto fields() {
    return std::tuple(
        json::field("typePresentationInfo", &ObjectPresentationInfo::typePresentationInfo),
        json::field("instancePresentationInfo", &ObjectPresentationInfo::instancePresentationInfo));
  }

  friend bool operator==(const ObjectPresentationInfo&, const ObjectPresentationInfo&) = default;
};

}  // namespace vellora
