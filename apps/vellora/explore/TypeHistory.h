#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "vellora/Catalog/TypeChange.h"
#include "vellora/Host/Cache.h"
#include "vellora/Models/SObject.h"
#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Values/Date.h"

namespace vellora::explore {

/// What a list of object types had changed when it was fetched, compared with the one before.
struct TypeChanges {
  std::int64_t number = 0;                   ///< counts up from 1; 0 before there was anything to compare
  std::string by;                            ///< "start" or "refresh"
  double since = 0;                          ///< when the list before was fetched, in seconds since 1970
  std::map<std::string, std::string> types;  ///< "added", "removed" or "changed", by API name

  static constexpr auto fields() {
    return std::tuple(json::field("number", &TypeChanges::number), json::field("by", &TypeChanges::by),
                      json::field("since", &TypeChanges::since), json::field("types", &TypeChanges::types));
  }
};

/// Knows what has changed since the list of object types was fetched the time before.
///
/// Ownership: shares the cache.
///
/// Threads: synchronises itself.
class TypeHistory {
 public:
  /// Remembers the list that the cache has now: a load may bring another one.
  explicit TypeHistory(std::shared_ptr<CorvaneSDK::Cache> cache);

  /// When the list that the cache has now was fetched; no value when there is none.
  [[nodiscard]] std::optional<Date> fetchedNow() const;

  /// Compares what the load of a start has left in the cache with what was there before. Nothing happens
  /// unless the list was fetched since, nor the first time, when there is nothing to compare with.
  void noteStart();

  /// Takes over what a refresh has found, which knows of themes as well. The list before it was fetched at
  /// `since`.
  void noteRefresh(const std::map<std::string, TypeChange>& changes, const Date& since);

  [[nodiscard]] TypeChanges latest() const;

 private:
  void add(const char* by, const Date& since, std::map<std::string, std::string> types);

  const std::shared_ptr<CorvaneSDK::Cache> cache_;
  mutable std::mutex mutex_;
  std::optional<Date> fetched_;  // of the list below
  std::vector<SObject> types_;
  TypeChanges latest_;
};

}  // namespace vellora::explore
