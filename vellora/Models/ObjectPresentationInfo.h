#pragma once

#include <optional>
#include <string_view>

#include "vellora/Models/PresentationInfo.h"
#include "vellora/Models/SObject.h"
#include "vellora/Models/ThemeItem.h"
#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// What the presentation lookups answer for one record or one object type. It is made of describe entries and
/// theme entries. The server does not send it, and it is not cached. Its JSON form is for those who pass it
/// on:
///
///     {"typePresentationInfo": {"apiName": "Account", "color": "2F6FDE", …}}
///
/// A list view of accounts has both parts, if Account has a theme entry: its type is ListView, its instance
/// Account.
///
/// Ownership: a plain value.
struct VELLORA_EXPORT ObjectPresentationInfo {
  /// One that describes nothing: to be decoded into, or assigned to.
  ObjectPresentationInfo() = default;

  /// The type is described with or without a theme entry: it is what was asked for. The instance is described
  /// only when both its type and its theme entry are known; without the entry it is left out on purpose.
  ObjectPresentationInfo(const std::optional<ThemeItem>& typeTheme, const SObject& typeSObject,
                         std::string_view theme, const std::optional<ThemeItem>& instanceTheme,
                         const std::optional<SObject>& instanceSObject);

  /// Describes the record's type, or the type that was asked for by name.
  PresentationInfo typePresentationInfo;

  /// Describes the type whose records a list view lists. Absent when the record is no list view, when that
  /// type or its theme entry is not known, and for a lookup by name.
  std::optional<PresentationInfo> instancePresentationInfo;

  static constexpr std::string_view recordName = "ObjectPresentationInfo";
  static constexpr auto fields() {
    return std::tuple(
        json::field("typePresentationInfo", &ObjectPresentationInfo::typePresentationInfo),
        json::field("instancePresentationInfo", &ObjectPresentationInfo::instancePresentationInfo));
  }

  friend bool operator==(const ObjectPresentationInfo&, const ObjectPresentationInfo&) = default;
};

}  // namespace vellora
