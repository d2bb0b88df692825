#pragma once

#include <string>
#include <vector>

#include "vellora/Models/ObjectLayoutFieldMetadata.h"
#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// The search layout of one object type: the columns that its search results show. The body of
/// "/services/data/v50.0/search/layout?q=Account,Contact" is a list of these.
///
///     {"objectType": "Account", "searchColumns": [
///       {"name": "Name", "label": "Account Name", "field": "Name"}]}
///
/// It is cached in the blob "OPS_Layout_Account", inside an `ObjectLayoutInfoCacheEntry`.
struct VELLORA_EXPORT ObjectLayoutInfo {
  /// API name of the object type; its cached copy is keyed by it.
  std::string objectType;

  /// From left to right; may be empty.
  std::vector<ObjectLayoutFieldMetadata> searchColumns;

  static constexpr std::string_view recordName = "ObjectLayoutInfo";
  static constexpr auto fields() {
    return std::tuple(json::field("objectType", &ObjectLayoutInfo::objectType),
                      json::field("searchColumns", &ObjectLayoutInfo::searchColumns));
  }

  friend bool operator==(const ObjectLayoutInfo&, const ObjectLayoutInfo&) = default;
};

}  // namespace vellora
