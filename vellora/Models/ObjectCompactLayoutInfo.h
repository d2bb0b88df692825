#pragma once

#include <string>

#include "vellora/Models/CompactLayoutField.h"
#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// The compact layout of one object type: the few headline fields that a record of it shows.
///
/// It has two JSON forms. The server's nests lines ("fieldItems"), their components and those of compound
/// fields; reading it flattens them into one field for each component that shows one.
///
///     {"objectType": "Account", "fieldItems": [{"label": "Name", "layoutComponents": [
///       {"value": "Name", "details": {"label": "Account Name", "type": "string", "referenceTo": [],
///                                     "relationshipName": null, "htmlFormatted": false}}]}]}
///
/// The library's own, which it writes, is the flattened list ("layoutFields"). It is kept in the blob
/// "OPS_CompactLayout_Account", inside a `CompactLayoutCacheEntry`.
///
///     {"objectType": "Account", "layoutFields": [
///       {"apiName": "Name", "fieldType": "string", "label": "Name", "htmlFormatted": false}]}
///
/// Where the library's own form can be read it is preferred.
///
/// Ownership: a value whose copies share the fields.
struct VELLORA_EXPORT ObjectCompactLayoutInfo {
  /// In display order; may be empty.
  CompactLayoutFields layoutFields;

  /// API name of the object type; its cached copy is keyed by it.
  std::string objectType;

  static constexpr bool hasOwnJsonForm = true;
  static constexpr std::string_view recordName = "ObjectCompactLayoutInfo";
  static constexpr auto fields() {
    return std::tuple(json::field("layoutFields", &ObjectCompactLayoutInfo::layoutFields),
                      json::field("objectType", &ObjectCompactLayoutInfo::objectType));
  }

  /// Compares the contents of the fields.
  friend bool operator==(const ObjectCompactLayoutInfo& left, const ObjectCompactLayoutInfo& right) {
    return left.objectType == right.objectType && haveEqualContents(left.layoutFields, right.layoutFields);
  }
};

}  // namespace vellora
