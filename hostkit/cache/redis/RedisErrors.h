#pragma once

#include <string>

#include "hostkit/cache/redis/RedisCacheError.h"

namespace vellora::hostkit::redisErrors {

/// What a server means by the error that it answers, such as "OOM command not allowed …". Also where a script
/// met with it.
[[nodiscard]] RedisCacheError::Reason reasonFor(const std::string& answer);

/// Whether another connection may do better than the one on which that was answered.
[[nodiscard]] bool endsTheConnection(RedisCacheError::Reason reason);

}  // namespace vellora::hostkit::redisErrors
