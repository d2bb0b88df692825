#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "hostkit/network/CurlNetworkError.h"
#include "hostkit/network/CurlRequest.h"
#include "hostkit/network/GzipDecoder.h"
#include "hostkit/network/RequestOutcome.h"
#include "hostkit/network/ServerAddress.h"
#include "vellora/Host/Network.h"

namespace vellora::hostkit {

/// One request on its way: its curl handle, the answer so far, and who waits for it.
///
/// Ownership: owned by whoever drives it; owns the completion.
/// Threads: built on one thread, then driven by one thread, the handle's own.
class CurlTransfer {
 public:
  /// What is the same for every transfer of a network; must outlive them.
  struct Setting {
    ServerAddress server;
    std::optional<std::string> caFile;
    std::size_t maxBodyBytes;
    double connectTimeout;  // seconds
    std::function<void(const RequestOutcome&)> observer;
  };

  using Clock = std::chrono::steady_clock;

  /// A transfer of `request`, or, when that is an error, one that has failed already.
  CurlTransfer(const Setting& setting, Result<CurlRequest> request, std::string path,
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
  struct Callbacks;

  [[nodiscard]] std::optional<CurlNetworkError::Kind> takeBody(std::string_view bytes);
  void reserveBody();
  [[nodiscard]] bool isRedirect() const;
  void followRedirect();
  void settleWithAnswer();
  void settleWithError(CurlNetworkError error);
  [[nodiscard]] CurlNetworkError errorOf(int curlCode) const;
  [[nodiscard]] std::string where() const;
  [[nodiscard]] std::string redacted(std::string text) const;

  // Constant after construction.
  const Setting& setting_;
  const std::string path_;
  const Clock::time_point begun_;
  Clock::time_point deadline_;
  CurlRequest request_;
  CorvaneSDK::Network::Completion completion_;

  // Only on the driving thread.
  struct Handle;
  std::unique_ptr<Handle> handle_;
  bool headIsComplete_ = false;  // of the answer that is coming
  std::string body_;
  std::unique_ptr<GzipDecoder> decoder_;  // of a packed body, once some of it has come
  std::optional<CurlNetworkError::Kind> bodyFault_;
  int redirects_ = 0;
  bool settled_ = false;
  std::optional<CurlNetworkError> error_;
  URLResponse response_;
};

}  // namespace vellora::hostkit
