#pragma once

#include <exception>
#include <string>

#include "vellora/Platform/Values/EnumerationError.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// What `VelloraService`'s constructor throws. All else that the library throws is `std::bad_alloc`, and the
/// `std::invalid_argument` of a `RequiredAPI` that is made of a null facility.
///
///     try {
///       service = std::make_unique<VelloraService>(host, 3600, "light", queue);
///     } catch (const VelloraServiceError& error) {
///       show(error.what());  // "The operation could not be completed. (VelloraServiceError.requiredAPI)"
///     }
///
/// Ownership: a plain value.
///
/// Threads: immutable.
class VELLORA_EXPORT VelloraServiceError final : public EnumerationError, public std::exception {
 public:
  /// The host lacks something that the library cannot do without: network, cache, logger or queue.
  [[nodiscard]] static VelloraServiceError requiredAPI() { return VelloraServiceError("requiredAPI"); }

  /// The localized description. Valid as long as the error lives.
  [[nodiscard]] const char* what() const noexcept override { return text_.c_str(); }

  friend bool operator==(const VelloraServiceError& left, const VelloraServiceError& right) {
    return left.equals(right);
  }

 private:
  explicit VelloraServiceError(std::string_view caseName)
      : EnumerationError("VelloraServiceError", caseName, std::nullopt), text_(localizedDescription()) {}

  std::string text_;
};

}  // namespace vellora
