#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "hostkit/cache/sqlite/SQLiteCacheFailure.h"
#include "hostkit/secrets/KnownSecrets.h"

namespace vellora::command {

/// Remembers the first thing that the cache could not do.
///
/// Threads: synchronises itself.
class CacheFailures {
 public:
  /// What is remembered is cleaned of `secrets`: it may name entries after what a server sent.
  explicit CacheFailures(std::shared_ptr<const hostkit::KnownSecrets> secrets);

  void note(const hostkit::SQLiteCacheFailure& failure);
  void note(const std::string& failure);

  /// What failed first, and why; no value when nothing did.
  [[nodiscard]] std::optional<std::string> first() const;

 private:
  const std::shared_ptr<const hostkit::KnownSecrets> secrets_;
  mutable std::mutex mutex_;
  std::optional<std::string> first_;
};

}  // namespace vellora::command
