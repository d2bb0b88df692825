#include "hostkit/cache/redis/RedisStore.h"

#include <utility>

#include "hostkit/cache/redis/RedisCacheError.h"
#include "hostkit/cache/redis/RedisErrors.h"

namespace vellora::hostkit {

namespace {

using std::chrono::steady_clock;
using Reason = RedisCacheError::Reason;

constexpr std::size_t longestDetail = 200;

}  // namespace

/// Ends the turn, also where memory runs out in it. The answer may be half read then, so that the connection
/// is of no use any more.
class RedisStore::Turn {
 public:
  explicit Turn(RedisStore& store) : store_(store) {}
  ~Turn() {
    if (!isOver_) store_.connection_.reset();
    store_.endTurn();
  }
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;

  void noteThatItIsOver() { isOver_ = true; }

 private:
  RedisStore& store_;
  bool isOver_ = false;
};

std::optional<RedisReply> RedisStore::ask(const RedisCommand& command, Access access) {
  const Deadline deadline = steady_clock::now() + setting_.timeout;
  Result<RedisReply> reply = Error(RedisCacheError{Reason::timedOut, setting_.address.text, ""});
  if (takeTurn(deadline)) {
    Turn turn(*this);
    reply = askInTurn(command, deadline);
    turn.noteThatItIsOver();
  }
  if (reply) return std::move(reply).value();
  const auto* error = reply.error().as<RedisCacheError>();
  if (error != nullptr && setting_.observer) setting_.observer({access, *error});
  return std::nullopt;
}

void RedisStore::fail(Access access, const std::string& detail) const {
  if (setting_.observer) setting_.observer({access, {Reason::failed, setting_.address.text, detail}});
}

bool RedisStore::takeTurn(Deadline deadline) {
  std::unique_lock lock(mutex_);
  if (!turnEnded_.wait_until(lock, deadline, [this] { return !isTaken_; })) return false;
  isTaken_ = true;
  return true;
}

void RedisStore::endTurn() {
  {
    const std::lock_guard lock(mutex_);
    isTaken_ = false;
  }
  turnEnded_.notify_one();
}

Result<RedisReply> RedisStore::askInTurn(const RedisCommand& command, Deadline deadline) {
  if (setting_.pause.lasts(steady_clock::now())) {
    return Error(RedisCacheError{Reason::unreachable, setting_.address.text, "not tried again yet"});
  }
  auto reply = askOnce(command, deadline);
  if (!reply) {
    const auto* error = reply.error().as<RedisCacheError>();
    const bool isOver = connection_ == nullptr;
    if (error != nullptr && isOver) setting_.pause.noteFailure(steady_clock::now());
  } else {
    setting_.pause.noteSuccess();
  }
  return reply;
}

/// Without a connection behind it when that is of no use any more.
Result<RedisReply> RedisStore::askOnce(const RedisCommand& command, Deadline deadline) {
  const bool isKept = connection_ != nullptr;
  if (!isKept) {
    if (auto error = connect(deadline)) return *std::move(error);
  }
  const auto connection = connection_;
  auto reply = connection->ask(command, deadline);
  if (!reply) {
    connection_.reset();
    // A server closes connections that are idle, and all of them when it starts anew.
    return isKept && connection->wasClosed() ? askOnce(command, deadline) : reply;
  }
  if (auto error = errorIn(reply.value())) {
    if (redisErrors::endsTheConnection(error->reason)) connection_.reset();
    return Error(*std::move(error));
  }
  RedisReply numbered = std::move(reply).value();
  numbered.connection = connections_;
  return numbered;
}

std::optional<Error> RedisStore::connect(Deadline deadline) {
  auto connection = RedisConnection::open(setting_.address, setting_.caFile, deadline);
  if (!connection) return connection.error();
  if (auto error = introduce(*connection.value(), deadline)) return error;
  connection_ = std::move(connection).value();
  ++connections_;
  return std::nullopt;
}

/// The error that `reply` tells, if it does. A server may repeat what it was sent: the password stays out.
std::optional<RedisCacheError> RedisStore::errorIn(const RedisReply& reply) const {
  if (reply.kind != RedisReply::Kind::error) return std::nullopt;
  const std::string& password = setting_.password;
  const bool repeatsPassword = !password.empty() && reply.text.find(password) != std::string::npos;
  return RedisCacheError{redisErrors::reasonFor(reply.text), setting_.address.text,
                         repeatsPassword ? std::string() : reply.text.substr(0, longestDetail)};
}

std::optional<Error> RedisStore::introduce(RedisConnection& connection, Deadline deadline) const {
  if (auto error = signIn(connection, deadline)) return error;
  if (setting_.address.database == 0) return std::nullopt;
  const auto reply = connection.ask({"SELECT", std::to_string(setting_.address.database)}, deadline);
  if (!reply) return reply.error();
  if (auto error = errorIn(reply.value())) return *std::move(error);
  return std::nullopt;
}

/// A server may quote any part of what it was sent, so that the words of its error are not told.
std::optional<Error> RedisStore::signIn(RedisConnection& connection, Deadline deadline) const {
  if (setting_.password.empty()) return std::nullopt;
  const auto reply =
      connection.ask(setting_.user.empty() ? RedisCommand{"AUTH", setting_.password}
                                           : RedisCommand{"AUTH", setting_.user, setting_.password},
                     deadline);
  if (!reply) return reply.error();
  auto error = errorIn(reply.value());
  if (!error) return std::nullopt;
  error->detail.clear();
  return *std::move(error);
}

}  // namespace vellora::hostkit
