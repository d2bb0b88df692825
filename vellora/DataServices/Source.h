#pragma once

namespace vellora {

/// Where a lookup by key looks, which tells of each key what became of it.
enum class Source {
  cacheFirst,   ///< what the cache has, the rest from the server
  cacheOnly,    ///< no request is sent
  serverFirst,  ///< the server where there is a request to send, the cache where that fails
};

}  // namespace vellora
