#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// The describe entry of one object type, as the server sends it and as the cache keeps it. Of the server's
/// some thirty members these five are read:
///
///     {"name": "Account", "keyPrefix": "001", "label": "Account", "labelPlural": "Accounts",
///      "createable": true}
///
/// The server sends all types in one list, the member "sobjects" of an object. That list is cached as one
/// JSON array, the row `cacheEntryType=sObjects` of the table "OPS_SObjectsCacheTable"; a type that was
/// looked up has a row `cacheEntryType=sObject`, `name=Account` of its own.
struct VELLORA_EXPORT SObject {
  /// API name, such as "Account"; what lookups by name match, letter case included.
  std::string name;

  /// The first three characters of its records' ids, such as "001". Some types have none: no id leads to
  /// them.
  std::optional<std::string> keyPrefix;

  /// What users call one record of the type.
  std::string label;

  /// The same for several records.
  std::string labelPlural;

  /// Whether the user may create records.
  bool createable = false;

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
