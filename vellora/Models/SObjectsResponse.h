#pragma once

#include <string_view>
#include <vector>

#include "vellora/Models/SObject.h"
#include "vellora/Platform/Json/Json.h"

namespace vellora {

/// The body of "/services/data/v50.0/sobjects": every object type that the user may see.
///
///     {"sobjects": [{"name": "Account", "keyPrefix": "001", …}]}
///
/// One entry that cannot be read makes the whole body invalid. What is cached is the list, without this
/// wrapping.
struct SObjectsResponse {
  /// In the server's order; lower-case "sobjects" in JSON.
  std::vector<SObject> sObjects;

  static constexpr std::string_view recordName = "SObjectsResponse";
  static constexpr auto fields() {
    return std::tuple(json::field("sobjects", &SObjectsResponse::sObjects, "sObjects"));
  }

  friend bool operator==(const SObjectsResponse&, const SObjectsResponse&) = default;
};

}  // namespace vellora
