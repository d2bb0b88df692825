#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>

#include "apps/vellora/command/Problem.h"
#include "hostkit/cache/sqlite/SQLiteCacheContents.h"
#include "vellora/Host/Cache.h"

namespace vellora::command {

/// A cache in a Redis, which many machines may share, as the command uses it. Nothing of the Redis itself is
/// known here: a build may lack it.
class SharedCache {
 public:
  struct Options {
    std::string address;
    std::string owner;
    std::string user;                              ///< empty for the default user
    std::string password;                          ///< empty where none is given
    std::optional<std::string> caFile;             ///< the authorities to trust; absent: the system's
    std::chrono::milliseconds timeout{};           ///< of a call
    std::function<void(const std::string&)> told;  ///< of each call that failed, in words for people
  };

  virtual ~SharedCache() = default;

  [[nodiscard]] virtual std::shared_ptr<CorvaneSDK::Cache> cache() const = 0;

  /// All that the owner's cache holds; no value when it cannot be read.
  [[nodiscard]] virtual std::optional<hostkit::SQLiteCacheContents> contents() const = 0;

  /// Deletes all that the owner's cache holds; true when nothing is left.
  [[nodiscard]] virtual bool clear() const = 0;
};

using OpenedSharedCache = std::variant<std::shared_ptr<SharedCache>, Problem>;

/// Connects to nothing yet. Fails for an address that is none, which is not repeated: a password may stand in
/// it; and where the command was built without Redis.
[[nodiscard]] OpenedSharedCache openSharedCache(SharedCache::Options options);

}  // namespace vellora::command
