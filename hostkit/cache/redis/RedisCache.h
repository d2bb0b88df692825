#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "hostkit/cache/redis/RedisCacheContents.h"
#include "hostkit/cache/redis/RedisCacheError.h"
#include "hostkit/cache/redis/RedisCacheFailure.h"
#include "vellora/Host/Cache.h"
#include "vellora/Platform/Values/Data.h"
#include "vellora/Platform/Values/Date.h"
#include "vellora/Platform/Values/Export.h"
#include "vellora/Platform/Values/Result.h"

namespace vellora::hostkit {

class LeasingNetwork;
class RedisStore;

/// A `Cache` in a Redis, which several processes and machines share. The server must be of version 6.2 or
/// later.
///
///     RedisCache::Options options;
///     options.owner = "https://records.example user 17";
///     const auto cache = RedisCache::open("rediss://cache.example", options);
///
/// Rows written without a data key are keyed by their meta, so equal meta replaces the earlier row. An exact
/// query yields the newest row first. Filters made by `metaEquals` and `dataKeyEquals` are answered through
/// an index; any other makes the whole table be read. Each write is seen as a whole or not at all. Rows that
/// are too old are deleted by the server; a row dated in the future is kept no longer than one dated in the
/// past.
///
/// Every blob and row bears a checksum: a damaged one is not there.
///
/// A Redis that is slow, full, loading, restarted, failing over or gone is a miss: a call takes `timeout` at
/// most, a purge twice that, finds nothing or stores nothing, and the observer is told. After a failed
/// attempt to reach it, calls fail at once for a while, so that nobody waits for each of them. The library
/// goes on from the records server meanwhile.
///
/// Blobs are kept for thirty days: nobody can name those of an owner that is no more, to delete them.
///
/// A Redis that runs out of memory should evict what was not used for longest (`volatile-lru`), or nothing
/// (`noeviction`). Under `volatile-ttl` the leases of `LeasingNetwork` go first, and requests are sent twice.
/// If an index goes before its rows, a purge may overlook them.
///
/// Ownership: tables keep the connection open for as long as anyone holds them, also without the cache.
///
/// Threads: every call may come from any thread; they take turns on one connection. No lock is held while a
/// filter is called.
///
/// Errors: `open` tells a `RedisCacheError`, of the address alone; nothing is connected before the first
/// call. After it, a write that fails gives false, a read that fails finds nothing, and the observer is told
/// of both.
class VELLORA_EXPORT RedisCache final : public CorvaneSDK::Cache {
 public:
  /// Told of each call that failed, on its thread, before it returns.
  using Observer = std::function<void(const RedisCacheFailure&)>;

  struct Options {
    /// Dates the rows and tells their age; called from any thread.
    std::function<Date()> clock = now;

    /// How long a call takes at most: waiting for other threads' calls, connecting and the answer together.
    std::chrono::milliseconds timeout{500};

    /// How long it is left alone after it failed: the first time, and at most. Each failure in a row doubles
    /// the pause.
    std::chrono::milliseconds firstPause{100};
    std::chrono::milliseconds longestPause{5000};

    /// Who signs in; empty for the default user. Not looked at without a password.
    std::string user = {};

    /// Absent from what is logged and told. Empty: nobody signs in.
    std::string password = {};

    /// A PEM file of the certificate authorities to trust, for "rediss:"; absent: the system's.
    std::optional<std::string> caFile = {};

    /// What the names of all keys begin with, so that others may use the same Redis.
    std::string space = "vellora";

    /// Whose entries these are: a text that tells server and user. Each owner has a cache of its own, which
    /// no other finds; the Redis holds a keyed digest of the text, not the text. Absent: that of nobody.
    std::optional<std::string> owner = {};

    Observer observer = {};
  };

  /// The cache in the Redis at `address`: "redis://HOST[:PORT][/DATABASE]", "rediss://…" with TLS, or
  /// "redis+unix:///PATH".
  [[nodiscard]] static Result<std::shared_ptr<RedisCache>> open(const std::string& address, Options options);
  [[nodiscard]] static Result<std::shared_ptr<RedisCache>> open(const std::string& address);

  ~RedisCache() override;

  [[nodiscard]] std::optional<Data> load(const std::string& key) override;
  bool save(const Data& data, const std::string& key) override;
  bool remove(const std::string& key) override;
  [[nodiscard]] std::shared_ptr<CorvaneSDK::CacheTable> openTable(const std::string& tableKey) override;
  [[nodiscard]] std::shared_ptr<CorvaneSDK::CacheTable> createTable(const CorvaneSDK::Table& table) override;

  /// Deletes all that the owner's cache holds, such as at a sign-out. True when none of it is left. Takes as
  /// many calls as the Redis has keys by the thousand, those of others included, and begins anew when the
  /// connection is lost. What another process writes meanwhile may stay.
  bool clear();

  /// All that the owner's cache holds, also what is damaged or too old; no value when it cannot be read.
  /// Takes a call for each blob, two for each table, and as many as `clear`. What is written meanwhile may be
  /// in it or not.
  [[nodiscard]] std::optional<RedisCacheContents> contents();

 private:
  friend class LeasingNetwork;  // shares the connection

  explicit RedisCache(std::shared_ptr<RedisStore> store);

  const std::shared_ptr<RedisStore> store_;
};

}  // namespace vellora::hostkit
