#pragma once

#include <vector>

#include "vellora/Models/ObjectCompactLayoutInfo.h"
#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// The body of "/services/data/v53.0/compactLayouts": an object with one member for each object type. Which
/// type a layout belongs to is read from the layout itself; the member's key is not looked at.
///
/// What is written is not what is read: the JSON form is an object with the member "layouts".
struct VELLORA_EXPORT CompactLayoutResults {
  std::vector<ObjectCompactLayoutInfo> layouts;  ///< in the order of the document

  static constexpr std::string_view recordName = "CompactLayoutResults";
  static constexpr auto fields() {
    return std::tuple(json::field("layouts", &CompactLayoutResults::layouts));
  }

  [[nodiscard]] static bool decodeJson(const json::Reader& reader, CompactLayoutResults& out);

  friend bool operator==(const CompactLayoutResults&, const CompactLayoutResults&) = default;
};

}  // namespace vellora
