#include "hostkit/cache/redis/RedisLeases.h"

#include <utility>

#include "hostkit/cache/redis/RedisBlobs.h"
#include "hostkit/cache/redis/RedisReply.h"
#include "hostkit/cache/rows/HexDigits.h"
#include "hostkit/cache/rows/KeyedDigest.h"

namespace vellora::hostkit {

namespace {

using Access = RedisStore::Access;

// Both: KEYS 1 the lease, 2 the answer; ARGV 1 the token, 2 milliseconds.

// Gives the answer, or 1 with the lease, or 0.
constexpr const char* take = R"(
local answer = redis.call('GET', KEYS[2])
if answer then return answer end
return redis.call('SET', KEYS[1], ARGV[1], 'NX', 'PX', ARGV[2]) and 1 or 0
)";

// ARGV 3: the answer, if there is one.
constexpr const char* end = R"(
if redis.call('GET', KEYS[1]) ~= ARGV[1] then return 0 end
if ARGV[3] then redis.call('SET', KEYS[2], ARGV[3], 'PX', ARGV[2]) end
redis.call('UNLINK', KEYS[1])
return 1
)";

}  // namespace

RedisLeases::RedisLeases(std::shared_ptr<RedisStore> store, Terms terms)
    : store_(std::move(store)), terms_(terms) {}

RedisLeases::Decision RedisLeases::ask(const std::string& request) {
  const RedisKeys& keys = store_->keys();
  const std::string token = hexDigits(randomKey());
  const auto reply = store_->ask({"EVAL", take, "2", keys.lease(request), keys.answer(request), token,
                                  std::to_string(terms_.lease.count())},
                                 Access::writing);
  if (!reply) return {.maySend = true};
  if (reply->kind == RedisReply::Kind::number) {
    return reply->number == 1 ? Decision{.maySend = true, .token = token} : Decision{};
  }
  auto answer = redisBlobs::unsealed(request, reply->text);
  if (!answer) return {.maySend = true};  // damaged
  return {.answer = std::move(answer)};
}

void RedisLeases::giveBack(const std::string& request, const std::string& token,
                           const std::optional<Data>& answer) {
  const RedisKeys& keys = store_->keys();
  RedisCommand command{"EVAL",
                       end,
                       "2",
                       keys.lease(request),
                       keys.answer(request),
                       token,
                       std::to_string(terms_.answer.count())};
  if (answer) command.push_back(redisBlobs::sealed(request, *answer));
  (void)store_->ask(command, Access::writing);
}

}  // namespace vellora::hostkit
