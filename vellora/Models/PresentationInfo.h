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
/// it can be created.
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

  std::optional<std::string> color;         ///< as the theme gives it
  std::optional<std::string> svgIconUrl;    ///< address of the vector icon
  std::optional<std::string> smallIconUrl;  ///< address of the small icon, raster or vector
  std::optional<std::string> largeIconUrl;  ///< address of the large icon, raster or vector
  std::optional<std::string> label;         ///< singular, for display
  std::optional<std::string> labelPlural;   ///< plural, for display
  bool createable = false;                  ///< whether the user may create records of the type

  static constexpr std::string_view recordName = "PresentationInfo";
  static constexpr auto fields() {
    return std::tuple(json::field("apiName", &PresentationInfo::apiName_),
                      json::field("color", &PresentationInfo::color),
                      json::field("svgIconUrl", &PresentationInfo::svgIconUrl),
                      json::field("smallIconUrl", &PresentationInfo::smallIconUrl),
                      json::field("largeIconUrl", &PresentationInfo::largeIconUrl),
                      json::field("label", &PresentationInfo::label),
                      json::field("labelPlural", &PresentationInfo::labelPlural),
                      json::field("createable", &PresentationInfo::createable));
  }

  friend bool operator==(const PresentationInfo&, const PresentationInfo&) = default;

 private:
  std::string apiName_;
};

}  // namespace vellora
