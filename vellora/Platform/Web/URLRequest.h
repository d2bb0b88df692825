#pragma once

#include <map>
#include <optional>
#include <string>

#include "vellora/Platform/Values/Data.h"
#include "vellora/Platform/Values/Export.h"
#include "vellora/Platform/Web/URL.h"

namespace vellora {

/// How a request may be answered from the network stack's own cache.
enum class URLRequestCachePolicy {
  useProtocolCachePolicy,  ///< as HTTP says; the default
};

/// A request for a URL. The defaults make a GET with a time-out of 60 seconds, no headers and no body.
struct VELLORA_EXPORT URLRequest {
  explicit URLRequest(URL requestUrl,
                      URLRequestCachePolicy policy = URLRequestCachePolicy::useProtocolCachePolicy,
                      double timeoutSeconds = 60.0)
      : url(std::move(requestUrl)), cachePolicy(policy), timeoutInterval(timeoutSeconds) {}

  URL url;
  URLRequestCachePolicy cachePolicy;
  double timeoutInterval;  ///< seconds
  std::string httpMethod = "GET";
  std::map<std::string, std::string> headers;
  std::optional<Data> body;

  friend bool operator==(const URLRequest&, const URLRequest&) = default;
};

}  // namespace vellora
