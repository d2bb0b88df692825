#pragma once

#include <memory>
#include <optional>
#include <string>
#include <variant>

#include "apps/vellora/command/Arguments.h"
#include "apps/vellora/command/Problem.h"
#include "hostkit/secrets/KnownSecrets.h"
#include "vellora/Host/Cache.h"
#include "vellora/Host/RequiredAPI.h"

namespace vellora::command {

class CacheFailures;

/// The host that one run of the command is: its network, its cache file and its log; and what the cache could
/// not do.
///
/// Threads: `cacheFailure` may be called while the cache is in use.
class Session {
 public:
  /// Opens log, cache and network as the arguments say; a `cache` that is given takes the place of theirs.
  [[nodiscard]] static std::variant<std::unique_ptr<Session>, Problem> open(
      const Arguments& arguments, std::shared_ptr<CorvaneSDK::Cache> cache = nullptr);

  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  [[nodiscard]] const RequiredAPI& api() const noexcept { return api_; }

  /// The token, also before it is sent; it is shown to nobody.
  [[nodiscard]] const std::shared_ptr<const hostkit::KnownSecrets>& secrets() const noexcept {
    return secrets_;
  }

  /// What the cache could not do first, and why; no value when it did all.
  [[nodiscard]] std::optional<std::string> cacheFailure() const;

 private:
  Session(std::shared_ptr<const hostkit::KnownSecrets> secrets, std::shared_ptr<CacheFailures> cacheFailures,
          RequiredAPI api);

  const std::shared_ptr<const hostkit::KnownSecrets> secrets_;
  const std::shared_ptr<CacheFailures> cacheFailures_;
  const RequiredAPI api_;
};

}  // namespace vellora::command
