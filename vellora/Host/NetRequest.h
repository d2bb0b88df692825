#pragma once

#include <utility>

#include "vellora/Platform/Values/Export.h"
#include "vellora/Platform/Web/URLRequest.h"

namespace CorvaneSDK {

/// A request as the host's `Network` takes it: a wrapped URL request with a relative URL.
class VELLORA_EXPORT NetRequest {
 public:
  explicit NetRequest(vellora::URLRequest base) : base_(std::move(base)) {}

  [[nodiscard]] const vellora::URLRequest& base() const noexcept { return base_; }

  friend bool operator==(const NetRequest&, const NetRequest&) = default;

 private:
  vellora::URLRequest base_;
};

}  // namespace CorvaneSDK
