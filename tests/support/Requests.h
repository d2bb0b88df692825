#pragma once

#include <string_view>
#include <utility>

#include "vellora/Host/NetRequest.h"
#include "vellora/Platform/Web/URLComponents.h"

namespace vellora::tests {

/// A GET of `url`, which must be a URL or a relative reference.
inline CorvaneSDK::NetRequest get(std::string_view url) {
  return CorvaneSDK::NetRequest(URLRequest(URLComponents::parse(url).value().url().value()));
}

/// The same with a time-out of its own.
inline CorvaneSDK::NetRequest get(std::string_view url, double timeoutSeconds) {
  URLRequest request = get(url).base();
  request.timeoutInterval = timeoutSeconds;
  return CorvaneSDK::NetRequest(std::move(request));
}

}  // namespace vellora::tests
