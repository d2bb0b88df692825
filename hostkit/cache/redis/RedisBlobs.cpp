#include "hostkit/cache/redis/RedisBlobs.h"

#include <string_view>

#include "hostkit/cache/redis/RedisReply.h"
#include "hostkit/cache/rows/Checksum.h"

namespace vellora::hostkit::redisBlobs {

namespace {

using Access = RedisStore::Access;

/// The checksum, and what parts it from the bytes.
std::string head(std::string_view key, std::string_view data) {
  return std::to_string(Checksum().add("blob").add(key).add(data).value()) + ":";
}

}  // namespace

std::optional<Data> read(RedisStore& store, const std::string& key) {
  const auto reply = store.ask({"GET", store.keys().blob(key)}, Access::reading);
  if (!reply || reply->kind != RedisReply::Kind::text) return std::nullopt;
  const std::string_view stored = reply->text;
  const auto colon = stored.find(':');
  if (colon == std::string_view::npos) return std::nullopt;
  const std::string_view data = stored.substr(colon + 1);
  if (stored.substr(0, colon + 1) != head(key, data)) return std::nullopt;
  return Data(data.data(), data.size());
}

bool write(RedisStore& store, const std::string& key, const Data& data) {
  const std::string stored = head(key, data.view()).append(data.view());
  return store.ask({"SET", store.keys().blob(key), stored}, Access::writing).has_value();
}

bool remove(RedisStore& store, const std::string& key) {
  return store.ask({"UNLINK", store.keys().blob(key)}, Access::writing).has_value();
}

}  // namespace vellora::hostkit::redisBlobs
