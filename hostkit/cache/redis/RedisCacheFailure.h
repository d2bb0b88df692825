#pragma once

#include "hostkit/cache/redis/RedisCacheError.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora::hostkit {

/// A call of a `RedisCache` or of one of its tables that failed. The call itself says less: a read finds
/// nothing then, as it does for an absent key, and a write gives false.
///
///     options.observer = [](const RedisCacheFailure& failure) { report(failure.error); };
///
/// Ownership: a plain value; the observer may keep a copy.
struct VELLORA_EXPORT RedisCacheFailure {
  enum class Operation { reading, writing };

  Operation operation = Operation::reading;
  RedisCacheError error;

  friend bool operator==(const RedisCacheFailure&, const RedisCacheFailure&) = default;
};

}  // namespace vellora::hostkit
