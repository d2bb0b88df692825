#pragma once

#include <optional>
#include <string>

#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// One column of a search layout: an element of `ObjectLayoutInfo::searchColumns`, and sent and cached as
/// part of it. The library passes it through as the server gives it.
///
///     {"name": "Phone", "label": "Phone", "format": "phone", "field": "Phone"}
///
/// Errors: all members but the format are required; other members are ignored.
struct VELLORA_EXPORT ObjectLayoutFieldMetadata {
  /// The server's name for the column.
  std::string name;

  /// The column's heading.
  std::string label;

  /// How the server would have it displayed, such as "phone"; absent where it doesn't say.
  std::optional<std::string> format;

  /// Path of the field that the column shows, such as "Owner.Name".
  std::string field;

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
