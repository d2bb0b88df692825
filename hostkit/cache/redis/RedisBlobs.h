#pragma once

#include <optional>
#include <string>

#include "hostkit/cache/redis/RedisStore.h"
#include "vellora/Platform/Values/Data.h"

namespace vellora::hostkit {

/// The blobs in a Redis, each with a checksum before its bytes. Each call is one command; one that fails has
/// told the observer.
namespace redisBlobs {

/// `data` as it is stored under `key`: led by the checksum of both.
[[nodiscard]] std::string sealed(const std::string& key, const Data& data);

/// What was sealed for `key`; absent when `stored` is damaged, or was sealed for another.
[[nodiscard]] std::optional<Data> unsealed(const std::string& key, const std::string& stored);

/// The blob of that key; absent when there is none, it is damaged, or it cannot be read.
[[nodiscard]] std::optional<Data> read(RedisStore& store, const std::string& key);

/// True when it is stored.
[[nodiscard]] bool write(RedisStore& store, const std::string& key, const Data& data);

/// True when there is no such blob any more.
[[nodiscard]] bool remove(RedisStore& store, const std::string& key);

}  // namespace redisBlobs

}  // namespace vellora::hostkit
