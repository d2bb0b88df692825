#pragma once

#include <utility>

#include "vellora/Platform/Values/Export.h"
#include "vellora/Platform/Web/URLRequest.h"

namespace CorvaneSDK {

/// A request as the host's `Network` takes it: a wrapped URL request with a relative URL, such as
/// "/services/data/v50.0/sobjects".
///
/// Ownership: a plain value. A network that answers later keeps a copy.
class VELLORA_EXPORT NetRequest {
 public:
  /// Wraps `base`; its URL has neither scheme nor server.
  explicit NetRequest(vellora::URLRequest base) : base_(std::move(base)) {}

  /// What is to be sent: URL, method, time-out in seconds. Valid as long as this request.
  [[nodiscard]] const vellora::URLRequest& base() const noexcept { return base_; }

  friend bool operator==(const NetRequest&, const NetRequest&) = default;

 private:
  vellora::URLRequest base_;
};

}  // namespace CorvaneSDK
