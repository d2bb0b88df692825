#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "hostkit/network/CurlHandle.h"
#include "hostkit/network/CurlNetworkError.h"
#include "hostkit/network/CurlRequest.h"
#include "hostkit/network/ResponseBody.h"
#include "hostkit/network/ResponseHead.h"
#include "hostkit/network/TransferSetting.h"
#include "vellora/Host/Network.h"

namespace vellora::hostkit {

/// One request on its way, from `sendRequest` to its completion: it takes in the answer, follows redirects
/// within the server, and settles how the request ends.
///
/// Ownership: owned by whoever drives it; owns the completion.
///
/// Threads: built on one thread, then driven by one thread, the handle's own.
///
/// Errors: `CurlNetworkError`, redacted; the completion gets it.
class CurlTransfer final : private CurlHandle::Receiver {
 public:
  using Clock = std::chrono::steady_clock;

  /// A transfer of `request`, or, when that is an error, one that has failed already. `setting` must outlive
  /// it. `path` is the path of the request's URL, for errors and the observer.
  CurlTransfer(const TransferSetting& setting, Result<CurlRequest> request, std::string path,
               CorvaneSDK::Network::Completion completion);
  ~CurlTransfer();
  CurlTransfer(const CurlTransfer&) = delete;
  CurlTransfer& operator=(const CurlTransfer&) = delete;

  /// True once it is settled how the request ends; what is left is `deliver`.
  [[nodiscard]] bool isSettled() const noexcept { return settled_; }

  /// When the request's time is up.
  [[nodiscard]] Clock::time_point deadline() const noexcept { return deadline_; }

  /// Makes the curl handle ready to be driven, and gives it; null when it could not, and it has failed.
  [[nodiscard]] void* prepareHandle();

  /// Tells that curl has finished with the handle, with that CURLcode. Unless `isSettled()` afterwards, the
  /// server has redirected the request within itself and the handle is ready to be driven again.
  void finish(int curlCode);

  /// Settles the request as failed.
  void fail(CurlNetworkError::Kind kind);

  /// Tells the observer, then calls the completion. Call it once, when settled, with no lock held.
  void deliver();

 private:
  void takeHeadLine(std::string_view line) noexcept override;
  [[nodiscard]] bool takeBody(std::string_view piece) noexcept override;

  [[nodiscard]] bool isRedirect() const;
  void followRedirect();
  void settleWithAnswer();
  void settleWithError(CurlNetworkError error);
  [[nodiscard]] std::string where() const;

  // Constant after construction.
  const TransferSetting& setting_;
  const std::string path_;
  const Clock::time_point begun_;
  Clock::time_point deadline_;
  CurlRequest request_;
  CorvaneSDK::Network::Completion completion_;

  // Only on the driving thread.
  std::unique_ptr<CurlHandle> handle_;
  ResponseHead head_;
  ResponseBody body_;
  std::optional<CurlNetworkError::Kind> bodyFault_;
  int redirects_ = 0;
  bool settled_ = false;
  std::optional<CurlNetworkError> error_;
  URLResponse response_;
};

}  // namespace vellora::hostkit
