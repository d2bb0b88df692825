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
/// Errors: a Redis that fails decides nothing; whoever asked sends the request then.
class RedisLeases {
 public:
  struct Terms {
    std::chrono::milliseconds lease;   ///< how long a lease lasts that nobody gives back
    std::chrono::milliseconds answer;  ///< how long an answer is there for others
  };

  /// What comes of asking for a request. Neither set: another process is sending it.
  struct Decision {
    bool maySend = false;
    std::optional<Data> answer = std::nullopt;  ///< in place of sending
    std::string token = {};                     ///< of the lease, to give it back; empty when there is none
  };

  RedisLeases(std::shared_ptr<RedisStore> store, Terms terms);

  [[nodiscard]] Decision ask(const std::string& request);

  /// Gives the lease back, and leaves the answer, if there is one, for those who wait. Does nothing when the
  /// lease has run out and is somebody else's.
  void giveBack(const std::string& request, const std::string& token, const std::optional<Data>& answer);

 private:
  const std::shared_ptr<RedisStore> store_;
  const Terms terms_;
};

}  // namespace vellora::hostkit
