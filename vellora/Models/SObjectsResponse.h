#pragma once

#include <string_view>
#include <vector>

#include "vellora/Models/SObject.h"
#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// The body of "/services/data/v50.0/sobjects": every object type that the user may see, in the server's
/// order.
struct VELLORA_EXPORT SObjectsResponse {
  std::vector<SObject> sObjects;  ///< lower-case "sobjects" in JSON

  static constexpr std::string_view recordName = "SObjectsResponse";
  static constexpr auto fields() {
    return std::tuple(json::field("sobjects", &SObjectsResponse::sObjects, "sObjects"));
  }

  friend bool operator==(const SObjectsResponse&, const SObjectsResponse&) = default;
};

}  // namespace vellora
