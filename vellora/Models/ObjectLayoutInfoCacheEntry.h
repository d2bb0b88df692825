#pragma once

#include "vellora/Models/ObjectLayoutInfo.h"
#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Values/Date.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// What the cache blob of one search layout holds, "OPS_Layout_Account" for that of Account.
///
///     {"objectLayoutInfo": {"objectType": "Account", …}, "downloadedTime": 721692800}
struct VELLORA_EXPORT ObjectLayoutInfoCacheEntry {
  /// As it was downloaded.
  ObjectLayoutInfo objectLayoutInfo;

  /// When it was downloaded: what the cache time-out counts from. In JSON a number of seconds since
  /// 2001-01-01 00:00:00 UTC.
  Date downloadedTime;

  static constexpr std::string_view recordName = "ObjectLayoutInfoCacheEntry";
  static constexpr auto fields() {
    return std::tuple(json::field("objectLayoutInfo", &ObjectLayoutInfoCacheEntry::objectLayoutInfo),
                      json::field("downloadedTime", &ObjectLayoutInfoCacheEntry::downloadedTime));
  }

  friend bool operator==(const ObjectLayoutInfoCacheEntry&, const ObjectLayoutInfoCacheEntry&) = default;
};

}  // namespace vellora
