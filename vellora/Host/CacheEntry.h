#pragma once

#include <optional>
#include <string>

#include "vellora/Host/Row.h"
#include "vellora/Platform/Values/Data.h"
#include "vellora/Platform/Values/Export.h"

namespace CorvaneSDK {

/// One row to write.
struct VELLORA_EXPORT CacheEntry {
  vellora::Data data;
  Meta meta;
  std::optional<std::string> dataKey;  ///< absent: the host gives the row its key

  friend bool operator==(const CacheEntry&, const CacheEntry&) = default;
};

}  // namespace CorvaneSDK
