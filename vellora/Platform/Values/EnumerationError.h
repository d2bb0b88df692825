#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "vellora/Platform/Values/Error.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// The base of error enumerations without texts of their own: a case, maybe with the error that it carries.
/// Their texts are the platform's defaults.
///
/// Ownership: a plain value. Threads: immutable.
class VELLORA_EXPORT EnumerationError {
 public:
  [[nodiscard]] std::string localizedDescription() const {
    return defaultErrorDescription(typeName_, caseName_, payload_);
  }

  /// The textual form: "noData", "other(…)".
  [[nodiscard]] std::string description() const;

  /// The error that the case carries; null for a plain case.
  [[nodiscard]] const Error* payload() const noexcept { return payload_ ? &*payload_ : nullptr; }

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
