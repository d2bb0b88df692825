#pragma once

#include <utility>

#include "vellora/Platform/Values/Export.h"
#include "vellora/Platform/Web/URLRequest.h"

namespace CorvaneSDK {

/// A request as the host's `Network` takes it: a wrapped URL request with a relative URL, such as
/// "/services/data/v50.0/sobjects". The library's own are GETs without headers and body, with a time-out of
/// 60 seconds.
///
///     const std::string address = "https://records.example" + request.base().url.absoluteString();
///
/// Ownership: a plain value, which refers to nothing else. A network that answers later keeps a copy.
///
/// Threads: immutable but for assignment, hence safe to read from several threads at once.
///
/// Errors: none. Copying takes memory.
///
/// Units: the time-out in `base` is in seconds.
class VELLORA_EXPORT NetRequest {
 public:
  /// Wraps `base`, whose URL has neither scheme nor server. Tests and networks that wrap others make such
  /// requests, too.
  explicit NetRequest(vellora::URLRequest base) : base_(std::move(base)) {}

  /// What is to be sent: URL, method, time-out in seconds. Valid as long as this request.
  [[nodiscard]] const vellora::URLRequest& base() const noexcept { return base_; }

  friend bool operator==(const NetRequest&, const NetRequest&) = default;

 private:
  vellora::URLRequest base_;
};

}  // namespace CorvaneSDK
