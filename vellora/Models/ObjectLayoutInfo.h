#pragma once

#include <string>
#include <vector>

#include "vellora/Models/ObjectLayoutFieldMetadata.h"
#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// The search layout of one object type: the columns that its search results show.
/// From "/services/data/v50.0/search/layout", which answers with a list of these.
struct VELLORA_EXPORT ObjectLayoutInfo {
  std::string objectType;  ///< API name of the object type; its cached copy is keyed by it
  std::vector<ObjectLayoutFieldMetadata> searchColumns;

  static constexpr std::string_view recordName = "ObjectLayoutInfo";
  static constexpr auto fields() {
    return std::tuple(json::field("objectType", &ObjectLayoutInfo::objectType),
                      json::field("searchColumns", &ObjectLayoutInfo::searchColumns));
  }

  friend bool operator==(const ObjectLayoutInfo&, const ObjectLayoutInfo&) = default;
};

}  // namespace vellora
