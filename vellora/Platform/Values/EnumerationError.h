#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "vellora/Platform/Values/Error.h"
#include "vellora/Platform/Values/Export.h"
#include "vellora/Platform/Values/RetryAdvice.h"

namespace vellora {

/// The base of error enumerations without texts of their own: a case, maybe with the error that it carries.
/// Their texts are the platform's defaults.
///
/// The case `noData` of an enumeration `SObjectsDataServiceError` says of itself
///
///     The operation could not be completed. (SObjectsDataServiceError.noData)
///
/// and the case `other`, which carries an error, adds what that one says:
///
///     The operation could not be completed. (SObjectsDataServiceError.other: missing key "name" at $)
///
/// Ownership: a plain value; copies share the error that it carries.
///
/// Threads: immutable, hence safe to read from several threads at once.
class VELLORA_EXPORT EnumerationError {
 public:
  /// One sentence for a person, as `defaultErrorDescription` makes it.
  [[nodiscard]] std::string localizedDescription() const {
    return defaultErrorDescription(typeName_, caseName_, payload_);
  }

  /// The textual form, as log lines show it inside others: the case, and in parentheses the textual form of
  /// the error that it carries. "noData", "other(noData)".
  [[nodiscard]] std::string description() const;

  /// The error that the case carries, such as that of the host's network; null for a plain case. It lives as
  /// long as this object.
  [[nodiscard]] const Error* payload() const noexcept { return payload_ ? &*payload_ : nullptr; }

  /// What the error that the case carries says about trying again; nothing for a plain case.
  [[nodiscard]] std::optional<RetryAdvice> retryAdvice() const {
    return payload_ ? payload_->retryAdvice() : std::nullopt;
  }

 protected:
  /// The names must live as long as the program: literals.
  EnumerationError(std::string_view typeName, std::string_view caseName, std::optional<Error> payload)
      : typeName_(typeName), caseName_(caseName), payload_(std::move(payload)) {}

  /// Equal are plain values of the same case, and carrying ones whose payloads' localized descriptions are
  /// equal.
  [[nodiscard]] bool equals(const EnumerationError& other) const;

 private:
  std::string_view typeName_;
  std::string_view caseName_;
  std::optional<Error> payload_;
};

}  // namespace vellora
