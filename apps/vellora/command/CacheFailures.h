#pragma once

#include <mutex>
#include <optional>
#include <string>

#include "hostkit/cache/sqlite/SQLiteCacheFailure.h"

namespace vellora::command {

/// Remembers the first thing that the cache could not do.
///
/// Threads: synchronises itself.
class CacheFailures {
 public:
  void note(const hostkit::SQLiteCacheFailure& failure);

  /// What failed first, and why; no value when nothing did.
  [[nodiscard]] std::optional<std::string> first() const;

 private:
  mutable std::mutex mutex_;
  std::optional<std::string> first_;
};

}  // namespace vellora::command
