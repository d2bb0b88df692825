#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// The describe entry of one object type, as the server sends it and as the cache keeps it.
struct VELLORA_EXPORT SObject {
  std::string name;                      ///< API name; what lookups by name match
  std::optional<std::string> keyPrefix;  ///< how the ids of its records begin; some types have none
  std::string label;                     ///< for display, as is the next
  std::string labelPlural;
  bool createable = false;  ///< whether the user may create records

  static constexpr std::string_view recordName = "SObject";
  static constexpr auto fields() {
    return std::tuple(json::field("name", &SObject::name), json::field("keyPrefix", &SObject::keyPrefix),
                      json::field("label", &SObject::label),
                      json::field("labelPlural", &SObject::labelPlural),
                      json::field("createable", &SObject::createable));
  }

  friend bool operator==(const SObject&, const SObject&) = default;
};

}  // namespace vellora
