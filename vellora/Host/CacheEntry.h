#pragma once

#include <optional>
#include <string>
#include <utility>

#include "vellora/Host/Row.h"
#include "vellora/Platform/Values/Data.h"
#include "vellora/Platform/Values/Export.h"

namespace CorvaneSDK {

/// One row to write. The library's own look like this: the describe entry of one object type, as JSON.
///
///     table.upsert(CacheEntry(accountAsJson, {{"cacheEntryType", "sObject"}, {"name", "Account"}}));
///
/// Ownership: a plain value; copies share the bytes.
///
/// Threads: like any value: read it from several threads, but change only your own copy.
///
/// Errors: none. Any bytes may stand in it, also in meta and key; copying meta and key takes memory.
struct VELLORA_EXPORT CacheEntry {
  CacheEntry() = default;

  CacheEntry(vellora::Data itsData, Meta itsMeta, std::optional<std::string> itsDataKey = std::nullopt)
      : data(std::move(itsData)), meta(std::move(itsMeta)), dataKey(std::move(itsDataKey)) {}

  /// What is stored; given back byte for byte.
  vellora::Data data;

  /// What the row is found by.
  Meta meta;

  /// The row to replace. Absent: the host gives the row its key; the library's own entries never have one.
  std::optional<std::string> dataKey;

  friend bool operator==(const CacheEntry&, const CacheEntry&) = default;
};

}  // namespace CorvaneSDK
