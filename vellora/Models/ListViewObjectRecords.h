#pragma once

#include <string_view>
#include <vector>

#include "vellora/Models/ListViewObject.h"
#include "vellora/Platform/Json/Json.h"

namespace vellora {

/// The body of the list-view query, "/services/data/v50.0/query" with
///
///     SELECT Id,SobjectType FROM ListView WHERE Id = '00B000000000001'
///
/// which is
///
///     {"records": [{"Id": "00B000000000001", "SobjectType": "Account"}]}
struct ListViewObjectRecords {
  /// The rows that match: one, or none for an id that is no list view's. Of several the first counts.
  std::vector<ListViewObject> records;

  static constexpr std::string_view recordName = "ListViewObjectRecords";
  static constexpr auto fields() {
    return std::tuple(json::field("records", &ListViewObjectRecords::records));
  }

  friend bool operator==(const ListViewObjectRecords&, const ListViewObjectRecords&) = default;
};

}  // namespace vellora
