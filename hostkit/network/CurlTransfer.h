#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "hostkit/network/Connections.h"
#include "hostkit/network/CurlHandle.h"
#include "hostkit/network/CurlNetworkError.h"
#include "hostkit/network/CurlRequest.h"
#include "hostkit/network/ResponseBody.h"
#include "hostkit/network/ResponseHead.h"
#include "hostkit/network/Revalidation.h"
#include "hostkit/network/ServerPause.h"
#include "hostkit/network/TransferSetting.h"
#include "vellora/Host/Network.h"
#include "vellora/Platform/Values/Data.h"
#include "vellora/Platform/Web/URLResponse.h"

namespace vellora::hostkit {

/// One request on its way, from `sendRequest` to its completion: it takes in the answer, follows redirects
/// within the server, and settles how the request ends.
///
/// Ownership: owned by whoever drives it; owns the completion.
///
/// Threads: built on one thread, then driven by one thread, the handle's own.
///
/// Errors: `CurlNetworkError`, redacted; the completion gets it. What finds no memory on its way is one as
/// well.
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

  /// The path of the request's URL.
  [[nodiscard]] const std::string& path() const noexcept { return path_; }

  /// How long the request may take.
  [[nodiscard]] Clock::duration timeout() const;

  /// When the request's time is up. Call it once the handle is prepared: that time begins there.
  [[nodiscard]] Clock::time_point deadline() const noexcept { return deadline_; }

  /// Puts the deadline off.
  void postpone(Clock::duration by) noexcept { deadline_ += by; }

  /// How long the cache of the bodies has taken since this was asked last. No request's time counts it.
  [[nodiscard]] Clock::duration takeTimeOfCache() noexcept { return revalidation_.takeTimeOfCache(); }

  /// Makes the curl handle ready to be driven, and gives it; null when it could not, and it has failed.
  [[nodiscard]] void* prepareHandle(Connections& connections);

  /// Tells that curl has finished with the handle, with that CURLcode. Unless `isSettled()` afterwards, the
  /// handle is ready to be driven again: the server has redirected the request within itself, a kept
  /// connection was of no use, or there is another token in place of one that was refused.
  void finish(int curlCode);

  /// Settles the request as failed because its time is up. A status that has come by then is what is told.
  void expire();

  /// Settles the request as failed.
  void fail(CurlNetworkError::Kind kind);

  /// Settles the request as failed, unsent, since the server wants to be left alone.
  void holdBack(const ServerPause::Refusal& refusal);

  /// Tells `pause` how the server has answered, once the request is settled. `now` is the present.
  void report(ServerPause& pause, Clock::time_point now) const;

  /// Tells the observer, then calls the completion. Call it once, when settled, with no lock held.
  void deliver();

 private:
  [[nodiscard]] bool takeHeadLine(std::string_view line) override;
  [[nodiscard]] bool takeBody(std::string_view piece) override;

  void settleOrGoOn(int curlCode);
  void failWithoutMemory();
  [[nodiscard]] std::optional<CurlNetworkError> failureOf(int curlCode) const;
  [[nodiscard]] bool isLineTooLong(int curlCode) const;
  [[nodiscard]] bool isRedirect() const;
  [[nodiscard]] bool isForAnotherRequest() const;
  [[nodiscard]] bool isConnectionUseless(int curlCode) const;
  void followRedirect();
  void sendOnFreshConnection();
  void forgetAnswer();
  [[nodiscard]] bool isSuccess() const;
  [[nodiscard]] bool isErrorStatus() const;
  [[nodiscard]] std::optional<std::string> renewedToken();
  void sendWithToken(const std::string& token);
  [[nodiscard]] bool isUnchanged() const;
  void settleUnchanged();
  [[nodiscard]] bool takeKept(const KeptBody& kept);
  void settleWithStatus();
  void settleWithAnswer();
  void noteAnswer();
  void settleWithResponse();
  void tellObserver() const;
  void settleWithError(CurlNetworkError error);
  [[nodiscard]] std::string where() const;
  [[nodiscard]] std::string cleaned(std::string_view text) const;

  // Constant after construction.
  const TransferSetting& setting_;
  const std::string path_;
  const Clock::time_point begun_;
  CorvaneSDK::Network::Completion completion_;

  // Only on the driving thread.
  CurlRequest request_;
  std::string url_;  // where it goes by now
  Revalidation revalidation_;
  Clock::time_point sent_;
  Clock::time_point deadline_;
  std::unique_ptr<CurlHandle> handle_;
  ResponseHead head_;
  ResponseBody body_;
  bool isHeadTooLarge_ = false;
  std::optional<CurlNetworkError::Kind> bodyFault_;
  int redirects_ = 0;
  bool wasSentAgain_ = false;
  bool wasTokenRenewed_ = false;
  bool settled_ = false;
  bool wasUnchanged_ = false;
  std::size_t received_ = 0;
  Data answer_;
  std::optional<CurlNetworkError> error_;
  URLResponse response_;
};

}  // namespace vellora::hostkit
