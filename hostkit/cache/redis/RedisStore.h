#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "hostkit/cache/redis/ReconnectPause.h"
#include "hostkit/cache/redis/RedisAddress.h"
#include "hostkit/cache/redis/RedisCacheError.h"
#include "hostkit/cache/redis/RedisCacheFailure.h"
#include "hostkit/cache/redis/RedisConnection.h"
#include "hostkit/cache/redis/RedisKeys.h"
#include "hostkit/cache/redis/RedisReply.h"
#include "vellora/Platform/Values/Date.h"
#include "vellora/Platform/Values/Error.h"
#include "vellora/Platform/Values/Result.h"

namespace vellora::hostkit {

/// The connection that a `RedisCache` and its tables share. It is made by the first command, and made anew
/// once it is lost; where that fails, commands fail at once until a pause is over.
///
/// Ownership: shared by the cache and its tables; the connection closes with the last of them.
///
/// Threads: synchronises itself: one command at a time. The observer is called while nobody has the turn.
///
/// Errors: a command that fails has no reply, and the observer is told.
class RedisStore {
 public:
  using Access = RedisCacheFailure::Operation;

  struct Setting {
    RedisAddress address;
    RedisKeys keys;
    std::string user;
    std::string password;
    std::optional<std::string> caFile;
    std::chrono::milliseconds timeout;
    ReconnectPause pause;
    std::function<Date()> clock;
    std::function<void(const RedisCacheFailure&)> observer;
  };

  explicit RedisStore(Setting setting) : setting_(std::move(setting)) {}

  /// The reply to `command`, which may be sent twice when a connection turns out to have been closed. Waiting
  /// for the turn, connecting and the answer take no longer than the time-out together.
  [[nodiscard]] std::optional<RedisReply> ask(const RedisCommand& command, Access access);

  [[nodiscard]] const RedisKeys& keys() const { return setting_.keys; }

  /// How many connections there have been so far, which is also the number of the last one.
  [[nodiscard]] std::uint64_t connections() const { return connections_.load(); }

  /// Tells the observer of a call that no single command failed.
  void fail(Access access, const std::string& detail) const;

  /// The present; called while nobody has the turn.
  [[nodiscard]] Date date() const { return setting_.clock(); }

 private:
  using Deadline = RedisConnection::Deadline;
  class Turn;

  [[nodiscard]] bool takeTurn(Deadline deadline);
  void endTurn();

  // Who calls these has the turn.
  [[nodiscard]] Result<RedisReply> askInTurn(const RedisCommand& command, Deadline deadline);
  [[nodiscard]] Result<RedisReply> askOnce(const RedisCommand& command, Deadline deadline);
  [[nodiscard]] std::optional<Error> connect(Deadline deadline);
  [[nodiscard]] std::optional<RedisCacheError> errorIn(const RedisReply& reply) const;
  [[nodiscard]] std::optional<Error> introduce(RedisConnection& connection, Deadline deadline) const;
  [[nodiscard]] std::optional<Error> signIn(RedisConnection& connection, Deadline deadline) const;

  Setting setting_;                              // the pause in turn only; else constant
  std::shared_ptr<RedisConnection> connection_;  // in turn only; null while there is none
  std::atomic<std::uint64_t> connections_ = 0;   // changed in turn only

  std::mutex mutex_;
  std::condition_variable turnEnded_;
  bool isTaken_ = false;  // under mutex_
};

}  // namespace vellora::hostkit
