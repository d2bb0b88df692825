#include "hostkit/cache/redis/RedisLeases.h"

#include <utility>

#include "hostkit/cache/redis/RedisBlobs.h"
#include "hostkit/cache/redis/RedisReply.h"
#include "hostkit/cache/rows/HexDigits.h"
#include "hostkit/cache/rows/KeyedDigest.h"

namespace vellora::hostkit {

namespace {

using Access = RedisStore::Access;

// KEYS 1 the lease, 2 the answer; ARGV 1 the token, 2 milliseconds.

// Gives the answer, or 1 with the lease, or 0. A connection that closes has the command sent again: the lease
// may be the token's own.
constexpr const char* take = R"(
local answer = redis.call('GET', KEYS[2])
if answer then return answer end
if redis.call('GET', KEYS[1]) == ARGV[1] then return 1 end
return redis.call('SET', KEYS[1], ARGV[1], 'NX', 'PX', ARGV[2]) and 1 or 0
)";

constexpr const char* prolong = R"(
if redis.call('GET', KEYS[1]) == ARGV[1] then redis.call('PEXPIRE', KEYS[1], ARGV[2]) end
return 1
)";

// ARGV 3: the answer, if there is one. The lease goes first: there may be no memory for the answer.
constexpr const char* end = R"(
local isHolder = redis.call('GET', KEYS[1]) == ARGV[1]
if isHolder then redis.call('UNLINK', KEYS[1]) end
if ARGV[3] and (isHolder or redis.call('EXISTS', KEYS[2]) == 0) then
  redis.call('SET', KEYS[2], ARGV[3], 'PX', ARGV[2])
end
return 1
)";

RedisCommand command(const char* script, const RedisKeys& keys, const std::string& request,
                     const std::string& token, std::chrono::milliseconds time) {
  return {
      "EVAL", script, "2", keys.lease(request), keys.answer(request), token, std::to_string(time.count())};
}

}  // namespace

RedisLeases::RedisLeases(std::shared_ptr<RedisStore> store, Terms terms)
    : store_(std::move(store)), terms_(terms) {}

std::string RedisLeases::newToken() {
  return hexDigits(randomKey());
}

RedisLeases::Decision RedisLeases::ask(const std::string& request, const std::string& token) {
  const auto reply =
      store_->ask(command(take, store_->keys(), request, token, terms_.lease), Access::writing);
  if (!reply) return {};
  if (reply->kind == RedisReply::Kind::number) return {reply->number == 1 ? Turn::own : Turn::another};
  return {Turn::unknown, redisBlobs::unsealed(request, reply->text)};
}

void RedisLeases::renew(const std::string& request, const std::string& token) {
  (void)store_->ask(command(prolong, store_->keys(), request, token, terms_.lease), Access::writing);
}

void RedisLeases::giveBack(const std::string& request, const std::string& token,
                           const std::optional<Data>& answer) {
  RedisCommand giving = command(end, store_->keys(), request, token, terms_.answer);
  if (answer) giving.push_back(redisBlobs::sealed(request, *answer));
  (void)store_->ask(giving, Access::writing);
}

}  // namespace vellora::hostkit
