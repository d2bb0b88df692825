#pragma once

#include <string_view>
#include <vector>

#include "vellora/Models/ListViewObject.h"
#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// The body of the list-view query: the rows that match, none for an id that is no list view's.
struct VELLORA_EXPORT ListViewObjectRecords {
  std::vector<ListViewObject> records;

  static constexpr std::string_view recordName = "ListViewObjectRecords";
  static constexpr auto fields() {
    return std::tuple(json::field("records", &ListViewObjectRecords::records));
  }

  friend bool operator==(const ListViewObjectRecords&, const ListViewObjectRecords&) = default;
};

}  // namespace vellora
