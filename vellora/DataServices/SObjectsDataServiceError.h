#pragma once

#include "vellora/Host/Logger.h"
#include "vellora/Platform/Values/EnumerationError.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// What the object-type service and the two layout services report.
///
/// Equality: plain cases are equal when they are the same case; two `other` when the localized descriptions
/// of what they carry are equal; a plain case never equals `other`. Ownership: a plain value. Threads:
/// immutable.
class VELLORA_EXPORT SObjectsDataServiceError final : public EnumerationError {
 public:
  enum class Case {
    other,     ///< carries an error that is none of this type: from the host's network, or a `DecodingError`
    decoding,  ///< a layout service's response body does not decode
    network,   ///< a layout service's request brought no body
    noData,    ///< a request of the object-type service brought neither body nor error
    invalidUrl,  ///< a request URL of the object-type service could not be formed
  };

  [[nodiscard]] static SObjectsDataServiceError other(Error error) { return {Case::other, std::move(error)}; }
  [[nodiscard]] static SObjectsDataServiceError decoding() { return {Case::decoding, std::nullopt}; }
  [[nodiscard]] static SObjectsDataServiceError network() { return {Case::network, std::nullopt}; }
  [[nodiscard]] static SObjectsDataServiceError noData() { return {Case::noData, std::nullopt}; }
  [[nodiscard]] static SObjectsDataServiceError invalidUrl() { return {Case::invalidUrl, std::nullopt}; }

  /// Turns any error into one of this type: itself when it is one, else `other` carrying it. Logs it first,
  /// at error level, when there is a logger: every time, also an error that was mapped before.
  [[nodiscard]] static SObjectsDataServiceError map(const Error& error, CorvaneSDK::Logger* logger);

  [[nodiscard]] Case errorCase() const noexcept { return case_; }

  friend bool operator==(const SObjectsDataServiceError& left, const SObjectsDataServiceError& right) {
    return left.equals(right);
  }

 private:
  SObjectsDataServiceError(Case errorCase, std::optional<Error> payload);

  Case case_;
};

}  // namespace vellora
