#pragma once

#include <vector>

#include "vellora/Models/ObjectCompactLayoutInfo.h"
#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// The body of "/services/data/v53.0/compactLayouts?q=Account,Contact": an object with one member for each
/// object type. Which type a layout belongs to is read from the layout itself; the member's key is not looked
/// at, but of duplicate keys only the first counts.
///
///     {"Account": {"objectType": "Account", "fieldItems": […]}, "Contact": {…}}
///
/// One layout that cannot be read makes the whole body invalid. What is written is not what is read: the JSON
/// form is an object with the member "layouts". The cache holds each layout by itself.
struct VELLORA_EXPORT CompactLayoutResults {
  /// In the order of the document.
  std::vector<ObjectCompactLayoutInfo> layouts;

  static constexpr bool hasOwnJsonForm = true;
  static constexpr std::string_view recordName = "CompactLayoutResults";
  static constexpr auto fields() {
    return std::tuple(json::field("layouts", &CompactLayoutResults::layouts));
  }

  friend bool operator==(const CompactLayoutResults&, const CompactLayoutResults&) = default;
};

}  // namespace vellora
