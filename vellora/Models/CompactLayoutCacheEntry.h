#pragma once

#include "vellora/Models/ObjectCompactLayoutInfo.h"
#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Values/Date.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// What the cache blob of one compact layout holds.
struct VELLORA_EXPORT CompactLayoutCacheEntry {
  ObjectCompactLayoutInfo compactLayout;
  Date downloadedTime;  ///< in JSON a number of seconds since 2001-01-01 00:00:00 UTC

  static constexpr std::string_view recordName = "CompactLayoutCacheEntry";
  static constexpr auto fields() {
    return std::tuple(json::field("compactLayout", &CompactLayoutCacheEntry::compactLayout),
                      json::field("downloadedTime", &CompactLayoutCacheEntry::downloadedTime));
  }

  friend bool operator==(const CompactLayoutCacheEntry&, const CompactLayoutCacheEntry&) = default;
};

}  // namespace vellora
