#pragma once

#include <chrono>
#include <cstddef>
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

  /// The most bytes of a command, and of a reply: what a Redis holds in one value.
  static constexpr std::size_t longestText = std::size_t{512} << 20U;

  /// Sends `command` and waits for its reply. A reply that tells an error is a reply. A command or reply of
  /// more than `longest` bytes fails, and so does a list that has more items than any that a cache asks for.
  [[nodiscard]] Result<RedisReply> ask(const RedisCommand& command, Deadline deadline,
                                       std::size_t longest = longestText);

  /// Whether the last failure was that the other end had closed the connection, as it does with idle ones.
  [[nodiscard]] bool wasClosed() const noexcept { return wasClosed_; }

 private:
  struct Wire;

  RedisConnection(std::unique_ptr<Wire> wire, std::string server);

  [[nodiscard]] std::optional<Error> send(const RedisCommand& command, Deadline deadline,
                                          std::size_t longest);
  [[nodiscard]] std::optional<Error> receiveMore(Deadline deadline, std::size_t& rest);
  [[nodiscard]] std::optional<Error> closed();

  const std::unique_ptr<Wire> wire_;
  const std::string server_;
  bool wasClosed_ = false;
};

}  // namespace vellora::hostkit
