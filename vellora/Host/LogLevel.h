#pragma once

namespace CorvaneSDK {

/// How much a log line matters. The library logs at both levels all the time; a host that wants less drops
/// `info`.
///
/// A prefetch that fails is a line of level `info`, beside the two `error` lines of the load that failed: the
/// app goes on with what is cached.
///
/// Ownership: a plain value.
enum class LogLevel {
  info,   ///< each step of a lookup or load, what the cache had, and which load of a prefetch failed
  error,  ///< a text that does not decode, a value that does not encode, a request that failed
};

}  // namespace CorvaneSDK
