#include "hostkit/cache/redis/RedisBlobs.h"

#include <string_view>

#include "hostkit/cache/redis/RedisReply.h"
#include "hostkit/cache/rows/Checksum.h"

namespace vellora::hostkit::redisBlobs {

namespace {

using Access = RedisStore::Access;

// Thirty days in seconds. Nobody can name the blobs of an owner that is no more, such as a token that was
// renewed, to delete them. One that is missed is fetched again.
constexpr const char* keptFor = "2592000";

/// The checksum, and what parts it from the bytes.
std::string head(std::string_view key, std::string_view data) {
  return std::to_string(Checksum().add("blob").add(key).add(data).value()) + ":";
}

}  // namespace

std::string sealed(const std::string& key, const Data& data) {
  return head(key, data.view()).append(data.view());
}

std::optional<Data> unsealed(const std::string& key, const std::string& stored) {
  const auto colon = stored.find(':');
  if (colon == std::string::npos) return std::nullopt;
  const auto data = std::string_view(stored).substr(colon + 1);
  if (!stored.starts_with(head(key, data))) return std::nullopt;
  return Data(data.data(), data.size());
}

std::optional<Data> read(RedisStore& store, const std::string& key) {
  const auto reply = store.ask({"GET", store.keys().blob(key)}, Access::reading);
  return reply ? unsealed(key, reply->text) : std::nullopt;
}

bool write(RedisStore& store, const std::string& key, const Data& data) {
  return store.ask({"SET", store.keys().blob(key), sealed(key, data), "EX", keptFor}, Access::writing)
      .has_value();
}

bool remove(RedisStore& store, const std::string& key) {
  return store.ask({"UNLINK", store.keys().blob(key)}, Access::writing).has_value();
}

}  // namespace vellora::hostkit::redisBlobs
