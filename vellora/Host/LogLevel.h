#pragma once

namespace CorvaneSDK {

/// How much a log line matters. The library logs at both levels all the time; a host that wants less drops
/// `info`.
enum class LogLevel {
  info,   ///< progress, cache hits and misses, prefetch failures
  error,  ///< decode, encode and network failures
};

}  // namespace CorvaneSDK
