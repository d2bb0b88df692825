#pragma once

#include "vellora/Models/ObjectLayoutInfo.h"
#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Values/Date.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// What the cache blob of one search layout holds.
struct VELLORA_EXPORT ObjectLayoutInfoCacheEntry {
  ObjectLayoutInfo objectLayoutInfo;
  Date downloadedTime;  ///< in JSON a number of seconds since 2001-01-01 00:00:00 UTC

  static constexpr std::string_view recordName = "ObjectLayoutInfoCacheEntry";
  static constexpr auto fields() {
    return std::tuple(json::field("objectLayoutInfo", &ObjectLayoutInfoCacheEntry::objectLayoutInfo),
                      json::field("downloadedTime", &ObjectLayoutInfoCacheEntry::downloadedTime));
  }

  friend bool operator==(const ObjectLayoutInfoCacheEntry&, const ObjectLayoutInfoCacheEntry&) = default;
};

}  // namespace vellora
