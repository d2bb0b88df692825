#pragma once

#include <map>
#include <string>

#include "vellora/Platform/Values/Export.h"

namespace CorvaneSDK {

/// What a row is known by: names and values, such as `{"cacheEntryType": "theme", "name": "Account"}`. An
/// ordered map, so that its textual form is the same every time.
using Meta = std::map<std::string, std::string>;

/// One stored row, without its data: what a filter looks at, and what `CacheTable::fetch` returns.
///
/// Ownership: a plain value; it does not change with the table.
///
/// Threads: like any value: read it from several threads, but change only your own copy.
///
/// Errors: none. Copying takes memory.
struct VELLORA_EXPORT Row {
  /// As it was written.
  Meta meta;

  /// Identifies the row within its table; the host chose it unless the entry had one.
  std::string dataKey;

  friend bool operator==(const Row&, const Row&) = default;
};

}  // namespace CorvaneSDK
