#include "hostkit/cache/redis/RedisCache.h"

#include <utility>

#include "hostkit/cache/redis/RedisAddress.h"
#include "hostkit/cache/redis/RedisBlobs.h"
#include "hostkit/cache/redis/RedisCacheTable.h"
#include "hostkit/cache/redis/RedisClearing.h"
#include "hostkit/cache/redis/RedisInventory.h"
#include "hostkit/cache/redis/RedisKeys.h"
#include "hostkit/cache/redis/RedisStore.h"
#include "hostkit/cache/redis/RedisTables.h"
#include "hostkit/cache/rows/HexDigits.h"
#include "hostkit/cache/rows/KeyedDigest.h"

namespace vellora::hostkit {

namespace {

// Stands in every key; another form has another number.
constexpr const char* form = "1:";

/// Nothing when there is no memory for the digest. Its key is no secret: whoever reads the Redis may try
/// guesses at an owner, not read one.
std::optional<RedisKeys> keysOf(const RedisCache::Options& options) {
  if (!options.owner) return RedisKeys{"{" + options.space + "}:" + form};
  const std::string digest = keyedDigest(options.space, *options.owner);
  if (digest.empty()) return std::nullopt;
  return RedisKeys{"{" + options.space + ":" + hexDigits(digest) + "}:" + form};
}

}  // namespace

Result<std::shared_ptr<RedisCache>> RedisCache::open(const std::string& address, Options options) {
  auto parsed = RedisAddress::parsed(address);
  if (!parsed) return Error(RedisCacheError{RedisCacheError::Reason::invalidAddress, "", ""});
  auto keys = keysOf(options);
  if (!keys)
    return Error(RedisCacheError{RedisCacheError::Reason::failed, address, "no digest of the owner"});
  auto store = std::make_shared<RedisStore>(
      RedisStore::Setting{.address = *std::move(parsed),
                          .keys = *std::move(keys),
                          .user = std::move(options.user),
                          .password = std::move(options.password),
                          .caFile = std::move(options.caFile),
                          .timeout = options.timeout,
                          .pause = ReconnectPause(options.firstPause, options.longestPause),
                          .clock = std::move(options.clock),
                          .observer = std::move(options.observer)});
  return std::shared_ptr<RedisCache>(new RedisCache(std::move(store)));
}

Result<std::shared_ptr<RedisCache>> RedisCache::open(const std::string& address) {
  return open(address, Options());
}

RedisCache::RedisCache(std::shared_ptr<RedisStore> store) : store_(std::move(store)) {}

RedisCache::~RedisCache() = default;

std::optional<Data> RedisCache::load(const std::string& key) {
  return redisBlobs::read(*store_, key);
}

bool RedisCache::save(const Data& data, const std::string& key) {
  return redisBlobs::write(*store_, key, data);
}

bool RedisCache::remove(const std::string& key) {
  return redisBlobs::remove(*store_, key);
}

std::shared_ptr<CorvaneSDK::CacheTable> RedisCache::openTable(const std::string& tableKey) {
  auto table = redisTables::find(*store_, tableKey);
  return table ? std::make_shared<RedisCacheTable>(store_, *std::move(table)) : nullptr;
}

std::shared_ptr<CorvaneSDK::CacheTable> RedisCache::createTable(const CorvaneSDK::Table& table) {
  if (!redisTables::find(*store_, table.key())) redisTables::write(*store_, table);
  return std::make_shared<RedisCacheTable>(store_, table);
}

bool RedisCache::clear() {
  return redisClearing::clear(*store_);
}

std::optional<RedisCacheContents> RedisCache::contents() {
  return redisInventory::read(*store_);
}

}  // namespace vellora::hostkit
