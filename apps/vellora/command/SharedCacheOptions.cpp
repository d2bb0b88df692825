#include "apps/vellora/command/SharedCacheOptions.h"

#include <algorithm>
#include <chrono>
#include <optional>
#include <utility>

#include "apps/vellora/command/TokenFile.h"

namespace vellora::command {

namespace {

using Seconds = std::chrono::duration<double>;
using std::chrono::milliseconds;

/// A tenth of the wait: after a Redis that does not answer there is time left to ask the server.
milliseconds timeoutOf(const Arguments& arguments) {
  constexpr Seconds longest = std::chrono::hours(1);
  return std::chrono::ceil<milliseconds>(std::min(Seconds(arguments.wait) / 10, longest));
}

}  // namespace

std::variant<SharedCache::Options, Problem> sharedCacheOptions(const Arguments& arguments,
                                                               std::string owner) {
  auto password = readPassword(arguments.cachePasswordFile, arguments.cachePasswordPlace);
  if (auto* problem = std::get_if<Problem>(&password)) return std::move(*problem);
  return SharedCache::Options{.address = arguments.cacheFile,
                              .owner = std::move(owner),
                              .user = arguments.cacheUser,
                              .password = std::get<0>(std::move(password)).value_or(""),
                              .caFile = arguments.cacheCaFile,
                              .timeout = timeoutOf(arguments),
                              .told = [](const std::string&) {}};
}

}  // namespace vellora::command
