#pragma once

#include "vellora/Host/Logger.h"
#include "vellora/Platform/Values/EnumerationError.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// What the theme service reports.
///
/// Equality: plain cases are equal when they are the same case; two `other` when the localized descriptions
/// of what they carry are equal; a plain case never equals `other`. Ownership: a plain value. Threads:
/// immutable.
class VELLORA_EXPORT ThemeDataServiceError final : public EnumerationError {
 public:
  enum class Case {
    other,    ///< carries an error that is none of this type: from the host's network, or a `DecodingError`
    network,  ///< kept for hosts that tell the cases apart; the service reports a network's failure as
              ///< `other`
    noData,   ///< the request brought neither body nor error
    invalidUrl,  ///< the request URL could not be formed
  };

  [[nodiscard]] static ThemeDataServiceError other(Error error) { return {Case::other, std::move(error)}; }
  [[nodiscard]] static ThemeDataServiceError network() { return {Case::network, std::nullopt}; }
  [[nodiscard]] static ThemeDataServiceError noData() { return {Case::noData, std::nullopt}; }
  [[nodiscard]] static ThemeDataServiceError invalidUrl() { return {Case::invalidUrl, std::nullopt}; }

  /// Turns any error into one of this type: itself when it is one, else `other` carrying it. Logs it first,
  /// at error level, when there is a logger: every time, also an error that was mapped before.
  [[nodiscard]] static ThemeDataServiceError map(const Error& error, CorvaneSDK::Logger* logger);

  [[nodiscard]] Case errorCase() const noexcept { return case_; }

  friend bool operator==(const ThemeDataServiceError& left, const ThemeDataServiceError& right) {
    return left.equals(right);
  }

 private:
  ThemeDataServiceError(Case errorCase, std::optional<Error> payload);

  Case case_;
};

}  // namespace vellora
