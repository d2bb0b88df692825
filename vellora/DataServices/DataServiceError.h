#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "vellora/DataServices/FailedRequest.h"
#include "vellora/Host/Logger.h"
#include "vellora/Platform/Values/EnumerationError.h"
#include "vellora/Platform/Values/Error.h"
#include "vellora/Platform/Values/Export.h"
#include "vellora/Platform/Values/RetryAdvice.h"

namespace vellora {

/// What the error types of the data services have in common: one table of cases with the names that they bear
/// in texts, when two errors are equal, and how any error becomes one of theirs.
///
/// `E` is the error type. Its enumeration `Case` names those of the cases that it has; only these can be
/// made:
///
///     ThemeDataServiceError::noData().localizedDescription()
///     // "The operation could not be completed. (ThemeDataServiceError.noData)"
///
/// Ownership: a plain value.
///
/// Threads: immutable.
template <class E>
class VELLORA_EXPORT DataServiceError : public EnumerationError {
 public:
  /// Carries an error that is not an `E`. Its text ends with that of the error.
  [[nodiscard]] static E other(Error error) { return E(E::Case::other, "other", std::move(error)); }

  [[nodiscard]] static E decoding() { return E(E::Case::decoding, "decoding", std::nullopt); }
  [[nodiscard]] static E encoding() { return E(E::Case::encoding, "encoding", std::nullopt); }
  [[nodiscard]] static E network() { return E(E::Case::network, "network", std::nullopt); }
  [[nodiscard]] static E noData() { return E(E::Case::noData, "noData", std::nullopt); }
  [[nodiscard]] static E invalidUrl() { return E(E::Case::invalidUrl, "invalidUrl", std::nullopt); }

  /// Turns any error into an `E`: itself when it is one, else `other` carrying it. Logs it first, at error
  /// level, when there is a logger: every time, also an error that was mapped before. Defined in the source
  /// file for the types that have the case `other`.
  [[nodiscard]] static E map(const Error& error, CorvaneSDK::Logger* logger);

  /// The request that it came from; null when it came from none, or there was no memory to say. It says more
  /// about the error, and makes no other of it: texts and equality don't look at it. Valid as long as the
  /// error or a copy lives.
  [[nodiscard]] const FailedRequest* request() const noexcept { return request_.get(); }

  /// The same error as one of the request to `url`, which failed for `reason`.
  [[nodiscard]] E ofRequest(const std::string& url, std::optional<Error> reason) const;

  /// What network or decoder said about trying again.
  [[nodiscard]] std::optional<RetryAdvice> retryAdvice() const {
    if (request_ && request_->reason) return request_->reason->retryAdvice();
    return EnumerationError::retryAdvice();
  }

  /// Plain cases are equal when they are the same case; two `other` when the localized descriptions of what
  /// they carry are equal. A plain case never equals `other`.
  friend bool operator==(const E& left, const E& right) { return left.equals(right); }

 protected:
  /// The names must live as long as the program: literals.
  DataServiceError(std::string_view typeName, std::string_view caseName, std::optional<Error> payload)
      : EnumerationError(typeName, caseName, std::move(payload)) {}

 private:
  std::shared_ptr<const FailedRequest> request_;
};

}  // namespace vellora
