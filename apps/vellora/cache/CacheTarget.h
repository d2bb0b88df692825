#pragma once

#include <memory>
#include <optional>
#include <string>
#include <variant>

#include "apps/vellora/command/Arguments.h"
#include "apps/vellora/command/Problem.h"
#include "hostkit/cache/sqlite/SQLiteCacheContents.h"
#include "vellora/Host/Cache.h"
#include "vellora/Platform/Values/Date.h"

namespace vellora::command {

/// The cache that `vellora cache` looks into and changes: a file, or one that a Redis keeps.
class CacheTarget {
 public:
  virtual ~CacheTarget() = default;

  /// All that it holds, as it is judged at that moment.
  [[nodiscard]] virtual std::variant<hostkit::SQLiteCacheContents, Problem> read(Date present) const = 0;

  /// The cache itself, to be changed; a file that is not there is made.
  [[nodiscard]] virtual std::variant<std::shared_ptr<CorvaneSDK::Cache>, Problem> open() const = 0;

  /// Deletes the cache with all that belongs to it; what stood against it.
  [[nodiscard]] virtual std::optional<Problem> destroy() const = 0;

  /// Why a change of the opened cache failed, as far as the cache tells, in place of what is supposed.
  [[nodiscard]] virtual Problem explained(Problem supposed) const = 0;

  /// How the cache is spoken of: "the cache file FILE".
  [[nodiscard]] virtual std::string name() const = 0;
};

[[nodiscard]] std::unique_ptr<CacheTarget> cacheFileTarget(std::string file);

/// The cache that the arguments name, whose file stands there by now. Nothing is opened yet.
[[nodiscard]] std::variant<std::unique_ptr<CacheTarget>, Problem> cacheTarget(const Arguments& arguments,
                                                                              const std::string& owner);

}  // namespace vellora::command
