#pragma once

#include <map>
#include <string>

#include "vellora/Platform/Values/Export.h"

namespace CorvaneSDK {

/// What a row is known by: an ordered map, so that its textual form is the same every time.
using Meta = std::map<std::string, std::string>;

/// One stored row, without its data.
struct VELLORA_EXPORT Row {
  Meta meta;
  std::string dataKey;  ///< identifies the row within its table

  friend bool operator==(const Row&, const Row&) = default;
};

}  // namespace CorvaneSDK
