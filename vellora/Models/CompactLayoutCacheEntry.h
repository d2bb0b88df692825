#pragma once

#include "vellora/Models/ObjectCompactLayoutInfo.h"
#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Values/Date.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// What the cache blob of one compact layout holds, "OPS_CompactLayout_Account" for that of Account.
///
///     {"compactLayout": {"objectType": "Account", …}, "downloadedTime": 721692800}
struct VELLORA_EXPORT CompactLayoutCacheEntry {
  /// As it was downloaded, but for paths of reference fields that were resolved.
  ObjectCompactLayoutInfo compactLayout;

  /// When it was downloaded: what the cache time-out counts from. In JSON a number of seconds since
  /// 2001-01-01 00:00:00 UTC.
  Date downloadedTime;

  static constexpr std::string_view recordName = "CompactLayoutCacheEntry";
  static constexpr auto fields() {
    return std::tuple(json::field("compactLayout", &CompactLayoutCacheEntry::compactLayout),
                      json::field("downloadedTime", &CompactLayoutCacheEntry::downloadedTime));
  }

  friend bool operator==(const CompactLayoutCacheEntry&, const CompactLayoutCacheEntry&) = default;
};

}  // namespace vellora
