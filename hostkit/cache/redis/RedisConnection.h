#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "hostkit/cache/redis/RedisAddress.h"
#include "hostkit/cache/redis/RedisReply.h"
#include "vellora/Platform/Values/Error.h"
#include "vellora/Platform/Values/Result.h"

namespace vellora::hostkit {

/// A connection to a Redis, on which one command at a time is asked. No call takes longer than its deadline,
/// however slowly the other end answers.
///
/// Ownership: owns the socket.
///
/// Threads: one at a time.
///
/// Errors: `RedisCacheError`. After one the connection is of no use any more: what comes next on it may be
/// the answer to an earlier command.
class RedisConnection {
 public:
  using Deadline = std::chrono::steady_clock::time_point;

  /// Connects, with TLS where the address says so. `caFile` has the certificates that are trusted then, in
  /// place of the system's.
  [[nodiscard]] static Result<std::shared_ptr<RedisConnection>> open(const RedisAddress& address,
                                                                     const std::optional<std::string>& caFile,
                                                                     Deadline deadline);

  ~RedisConnection();
  RedisConnection(const RedisConnection&) = delete;
  RedisConnection& operator=(const RedisConnection&) = delete;

  /// Sends `command` and waits for its reply. A reply that tells an error is a reply.
  [[nodiscard]] Result<RedisReply> ask(const RedisCommand& command, Deadline deadline);

  /// Whether the last failure was that the other end had closed the connection, as it does with idle ones.
  [[nodiscard]] bool wasClosed() const noexcept { return wasClosed_; }

 private:
  struct Wire;

  RedisConnection(std::unique_ptr<Wire> wire, std::string server);

  [[nodiscard]] std::optional<Error> send(const RedisCommand& command, Deadline deadline);
  [[nodiscard]] std::optional<Error> receiveMore(Deadline deadline);
  [[nodiscard]] std::optional<Error> closed();

  const std::unique_ptr<Wire> wire_;
  const std::string server_;
  bool wasClosed_ = false;
};

}  // namespace vellora::hostkit
