#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "vellora/Models/SObject.h"
#include "vellora/Models/ThemeItem.h"
#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// How an object type is to be shown: its labels, its colour and icons in one theme, and whether records of
/// it can be created. It is made of an `SObject` and a `ThemeItem`; neither is it sent by the server nor
/// cached.
///
///     const PresentationInfo info(themeItem, sObject, "light");
///     tile.setTitle(info.label.value_or(info.apiName()));
///
/// Which type it describes is settled when it is made: `apiName` can be read, and changes only with the whole
/// value when another one is assigned. The rest is for the host to adapt.
class VELLORA_EXPORT PresentationInfo {
 public:
  /// One that describes nothing: to be decoded into, or assigned to.
  PresentationInfo() = default;

  /// Describes `sobject`; colour and icons are those of `theme` in `themeItem`, all absent without one. The
  /// theme entry's own name is not looked at.
  PresentationInfo(const std::optional<ThemeItem>& themeItem, const SObject& sobject, std::string_view theme);

  /// API name of the object type.
  [[nodiscard]] const std::string& apiName() const noexcept { return apiName_; }

  /// As the theme entry gives it, such as "2F6FDE".
  std::optional<std::string> color;

  /// Address of the vector icon, chosen as `ThemeItem::svgIconUrl` says.
  std::optional<std::string> svgIconUrl;

  /// Address of the small icon, raster or vector, chosen as `ThemeItem::smallIconUrl` says.
  std::optional<std::string> smallIconUrl;

  /// Address of the large icon, raster or vector, chosen as `ThemeItem::largeIconUrl` says.
  std::optional<std::string> largeIconUrl;

  /// What users call one record of the type.
  std::optional<std::string> label;

  /// What users call several records of the type.
  std::optional<std::string> labelPlural;

  /// Whether the user may create records of the type.
  bool createable = false;

 private:
  template <class ApiName>
  static constexpr auto fieldsWith(ApiName apiName) {
    return std::tuple(json::field("apiName", apiName), json::field("color", &PresentationInfo::color),
                      json::field("svgIconUrl", &PresentationInfo::svgIconUrl),
                      json::field("smallIconUrl", &PresentationInfo::smallIconUrl),
                      json::field("largeIconUrl", &PresentationInfo::largeIconUrl),
                      json::field("label", &PresentationInfo::label),
                      json::field("labelPlural", &PresentationInfo::labelPlural),
                      json::field("createable", &PresentationInfo::createable));
  }

 public:
  static constexpr std::string_view recordName = "PresentationInfo";
  static constexpr auto fields() { return fieldsWith(&PresentationInfo::apiName); }

  friend bool operator==(const PresentationInfo&, const PresentationInfo&) = default;

 private:
  friend struct json::Codec<PresentationInfo>;

  // What is read from JSON sets the name as well.
  static constexpr auto decodedFields() { return fieldsWith(&PresentationInfo::apiName_); }

  std::string apiName_;
};

}  // namespace vellora
