#pragma once

#include <string>
#include <variant>

#include "apps/vellora/command/Arguments.h"
#include "apps/vellora/command/Problem.h"
#include "apps/vellora/command/SharedCache.h"

namespace vellora::command {

/// How the Redis that the arguments name is asked for the cache of `owner`: as the user, with the password in
/// the file that they name, a tenth of their wait for each call, and nobody told of failures. Fails when the
/// password cannot be read.
[[nodiscard]] std::variant<SharedCache::Options, Problem> sharedCacheOptions(const Arguments& arguments,
                                                                             std::string owner);

}  // namespace vellora::command
