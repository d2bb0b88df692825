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

/// A request for a URL. The defaults make a GET with a time-out of 60 seconds, no headers and no body; the
/// library's own requests are all such.
///
/// Ownership: a plain value; copies share the bytes of the body.
///
/// Threads: like any value: read it from several threads, but change only your own copy.
///
/// Units: the time-out is in seconds.
struct VELLORA_EXPORT URLRequest {
  /// A GET of `requestUrl`, which may be given up after `timeoutSeconds`.
  explicit URLRequest(URL requestUrl,
                      URLRequestCachePolicy policy = URLRequestCachePolicy::useProtocolCachePolicy,
                      double timeoutSeconds = 60.0)
      : url(std::move(requestUrl)), cachePolicy(policy), timeoutInterval(timeoutSeconds) {}

  URL url;
  URLRequestCachePolicy cachePolicy;

  /// How long the answer may take, in seconds. Then the network completes the request with an error.
  double timeoutInterval;

  /// In capitals, as HTTP has it.
  std::string httpMethod = "GET";

  /// Values by header name, beside those that the network adds, such as its token.
  std::map<std::string, std::string> headers;

  /// What is sent; absent for a GET.
  std::optional<Data> body;

  friend bool operator==(const URLRequest&, const URLRequest&) = default;
};

}  // namespace vellora
