#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "vellora/Platform/Json/Json.h"

namespace vellora {

/// One row of the list-view query: a list view and what it lists.
///
///     {"Id": "00B000000000001", "SobjectType": "Account"}
///
/// Only the type's name is cached: the row `cacheEntryType=listView`, `id=00B000000000001` of the table
/// "OPS_SObjectsCacheTable".
struct ListViewObject {
  /// The JSON keys, upper-case as the query language returns them.
  struct CodingKeys {
    static constexpr std::string_view id = "Id";
    static constexpr std::string_view objectType = "SobjectType";
  };

  /// The record id of the list view.
  std::string id;

  /// API name of the type that the list view lists; absent when the server names none.
  std::optional<std::string> objectType;

  static constexpr std::string_view recordName = "ListViewObject";
  static constexpr auto fields() {
    return std::tuple(json::field(CodingKeys::id, &ListViewObject::id, "id"),
                      json::field(CodingKeys::objectType, &ListViewObject::objectType, "objectType"));
  }

  friend bool operator==(const ListViewObject&, const ListViewObject&) = default;
};

}  // namespace vellora
