#pragma once

#include <string>

#include "vellora/Platform/Values/Export.h"

namespace vellora::hostkit {

/// Why a Redis cannot be used, or a call of its cache failed.
///
///     const auto cache = RedisCache::open("redis://cache.example");
///     if (!cache) std::cerr << cache.error().localizedDescription() << '\n';
///
/// Ownership: a plain value.
struct VELLORA_EXPORT RedisCacheError {
  /// What is wrong, for a program.
  enum class Reason {
    invalidAddress,  ///< the text is no address of a Redis, or one with a user or password in it
    unreachable,     ///< there is no connection, or it was lost; also while the next attempt is put off
    timedOut,        ///< the call took longer than it may
    refused,         ///< user or password are wrong or missing, or they may not do this
    full,            ///< it takes no writes, for want of memory or disk
    unready,         ///< it cannot take part now: it loads, is a replica, or is busy
    failed,          ///< it reports another failure, or answers what no Redis does
  };

  Reason reason = Reason::failed;
  std::string server;  ///< its address; empty when that is invalid, since a password may stand in it
  std::string detail;  ///< the server's or the system's own words; may be empty

  /// For people: what is wrong, where, and what to do about it.
  [[nodiscard]] std::string localizedDescription() const;

  friend bool operator==(const RedisCacheError&, const RedisCacheError&) = default;
};

}  // namespace vellora::hostkit
