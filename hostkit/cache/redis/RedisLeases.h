#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "hostkit/cache/redis/RedisStore.h"
#include "vellora/Platform/Values/Data.h"

namespace vellora::hostkit {

/// Which of several processes sends a request, and what the others are given in its place: its answer.
///
/// Ownership: shares the connection of a cache.
///
/// Threads: may be used from any thread; the connection synchronises.
///
/// Errors: a Redis that fails decides nothing, which the decision tells.
class RedisLeases {
 public:
  struct Terms {
    std::chrono::milliseconds lease;   ///< how long a lease lasts that nobody renews or gives back
    std::chrono::milliseconds answer;  ///< how long an answer is there for others
  };

  enum class Turn {
    own,      ///< whoever asked sends
    another,  ///< another process is sending
    unknown,  ///< the Redis failed, or held a damaged answer; the lease may be there all the same
  };

  /// What comes of asking for a request.
  struct Decision {
    Turn turn = Turn::unknown;
    std::optional<Data> answer = std::nullopt;  ///< in place of sending
  };

  RedisLeases(std::shared_ptr<RedisStore> store, Terms terms);

  /// Names one sending of a request. Empty when the system gives no random numbers.
  [[nodiscard]] static std::string newToken();

  /// Takes the lease under `token`, which may have taken it already.
  [[nodiscard]] Decision ask(const std::string& request, const std::string& token);

  /// Has the lease last as long as a new one, if it is still that token's.
  void renew(const std::string& request, const std::string& token);

  /// Gives the lease back, if it is still that token's. Leaves the answer, if there is one, for those who
  /// wait, whoever has the lease: it is as good as the holder's, which replaces it.
  void giveBack(const std::string& request, const std::string& token, const std::optional<Data>& answer);

 private:
  const std::shared_ptr<RedisStore> store_;
  const Terms terms_;
};

}  // namespace vellora::hostkit
