#pragma once

#include <optional>
#include <string>

#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// One column of a search layout. The library passes it through as the server gives it.
struct VELLORA_EXPORT ObjectLayoutFieldMetadata {
  std::string name;
  std::string label;                  ///< for display
  std::optional<std::string> format;  ///< how the server would have it displayed, where it says so
  std::string field;                  ///< path of the field that the column shows

  static constexpr std::string_view recordName = "ObjectLayoutFieldMetadata";
  static constexpr auto fields() {
    return std::tuple(json::field("name", &ObjectLayoutFieldMetadata::name),
                      json::field("label", &ObjectLayoutFieldMetadata::label),
                      json::field("format", &ObjectLayoutFieldMetadata::format),
                      json::field("field", &ObjectLayoutFieldMetadata::field));
  }

  friend bool operator==(const ObjectLayoutFieldMetadata&, const ObjectLayoutFieldMetadata&) = default;
};

}  // namespace vellora
