#pragma once

namespace CorvaneSDK {

enum class LogLevel {
  info,   ///< progress, cache hits and misses, prefetch failures
  error,  ///< decode, encode and network failures
};

}  // namespace CorvaneSDK
