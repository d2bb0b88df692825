#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>

#include "apps/vellora/command/Arguments.h"
#include "apps/vellora/command/Problem.h"
#include "hostkit/secrets/KnownSecrets.h"
#include "vellora/Host/RequiredAPI.h"

namespace vellora::command {

class CacheFailures;
class NotingLogger;
class RequestFailures;
class SettlingNetwork;

/// The host that one run of the command is: its network, its cache file and its log; and what went wrong in
/// them.
///
/// Threads: `failure`, `cacheFailure` and `unanswered` may be called while requests run.
class Session {
 public:
  /// Opens log, cache and network as the arguments say.
  [[nodiscard]] static std::variant<std::unique_ptr<Session>, Problem> open(const Arguments& arguments);

  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  [[nodiscard]] const RequiredAPI& api() const noexcept { return api_; }

  /// What has been sent, and is shown to nobody.
  [[nodiscard]] const std::shared_ptr<const hostkit::KnownSecrets>& secrets() const noexcept {
    return secrets_;
  }

  /// Calls `action` each time the library logs exactly `line`.
  void whenLogged(std::string line, std::function<void()> action) const;

  /// Waits until the library has finished with the answers that came. It caches some of them only after
  /// passing them on, and must not be destroyed in between.
  void settle() const;

  /// The path of the oldest request that has no answer yet; no value when there is none.
  [[nodiscard]] std::optional<std::string> unanswered() const;

  /// Which request failed first, and why; no value when none did.
  [[nodiscard]] std::optional<std::string> failure() const;

  /// What the cache could not do first, and why; no value when it did all.
  [[nodiscard]] std::optional<std::string> cacheFailure() const;

 private:
  Session(std::shared_ptr<const hostkit::KnownSecrets> secrets, std::shared_ptr<RequestFailures> failures,
          std::shared_ptr<CacheFailures> cacheFailures, std::shared_ptr<SettlingNetwork> network,
          std::shared_ptr<NotingLogger> logger, RequiredAPI api);

  const std::shared_ptr<const hostkit::KnownSecrets> secrets_;
  const std::shared_ptr<RequestFailures> failures_;
  const std::shared_ptr<CacheFailures> cacheFailures_;
  const std::shared_ptr<SettlingNetwork> network_;
  const std::shared_ptr<NotingLogger> logger_;
  const RequiredAPI api_;
};

}  // namespace vellora::command
