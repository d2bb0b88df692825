#pragma once

namespace vellora {

/// Where a lookup of the data services' second kind looks: those that tell of each key what became of it.
enum class Source {
  cacheFirst,   ///< what the cache has, the rest from the server
  cacheOnly,    ///< no request is sent
  serverFirst,  ///< the server where there is a request to send, the cache where that fails
};

}  // namespace vellora
