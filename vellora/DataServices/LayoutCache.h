#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "vellora/DataServices/LogError.h"
#include "vellora/Host/Cache.h"
#include "vellora/Host/Logger.h"
#include "vellora/Platform/Json/Json.h"

namespace vellora {

/// The blobs in which a layout service keeps its layouts: one for each object type, under a prefix of the
/// service followed by the type's name, such as "OPS_Layout_Account". A blob holds a cache entry: the layout
/// and the time of its download, as JSON.
///
/// Ownership: refers to the host's objects, which must outlive it. A lookup, or a save of several layouts,
/// makes one for itself; all its keys are made in the memory of one.
///
/// Threads: for one thread; calls the cache on it.
///
/// Errors: logged. An entry that cannot be read counts as absent and stays, until the next save replaces it.
class LayoutCache {
 public:
  LayoutCache(CorvaneSDK::Cache& cache, CorvaneSDK::Logger& logger, std::string_view keyPrefix);

  /// The entry of `objectType`. None when there is no blob or it is not an `Entry`; either is logged.
  template <class Entry>
  [[nodiscard]] std::optional<Entry> load(std::string_view objectType) {
    const auto data = cache_.load(keyOf(objectType));
    if (!data) {
      logger_.log("load(key:): No data from cache", CorvaneSDK::LogLevel::info);
      return std::nullopt;
    }
    auto entry = json::decode<Entry>(*data);
    if (entry) return std::move(entry.value());
    logError(logger_, "load(key:)", ": Failed to decode: ", entry.error());
    return std::nullopt;
  }

  /// Stores the entry of `objectType`. One without a JSON form is not stored, which is logged as a failure of
  /// `operation`.
  template <class Entry>
  void save(std::string_view objectType, const Entry& entry, std::string_view operation) {
    const auto data = json::encode(entry);
    if (!data) return logError(logger_, operation, ": Failed to encode: ", data.error());
    cache_.save(data.value(), keyOf(objectType));
  }

  /// Removes the blob of `objectType`. Whether there is none any more.
  bool remove(std::string_view objectType);

  /// Removes the blobs of all of them, and tells which are still there. Throws `std::bad_alloc` at the end
  /// when there was no memory for some.
  std::vector<std::string> removeAll(const std::vector<std::string>& objectTypes);

 private:
  /// The key of that type's blob; valid until the next call.
  [[nodiscard]] const std::string& keyOf(std::string_view objectType);

  CorvaneSDK::Cache& cache_;
  CorvaneSDK::Logger& logger_;
  std::string key_;  // the prefix, followed by the type of the last call
  const std::size_t prefixSize_;
};

}  // namespace vellora
