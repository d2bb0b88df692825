#include "vellora/DataServices/ThemeDataServiceError.h"

namespace vellora {

namespace {

std::string_view nameOf(ThemeDataServiceError::Case errorCase) {
  using Case = ThemeDataServiceError::Case;
  switch (errorCase) {
    case Case::other:
      return "other";
    case Case::network:
      return "network";
    case Case::noData:
      return "noData";
    case Case::invalidUrl:
      return "invalidUrl";
  }
  return "unknown";
}

}  // namespace

ThemeDataServiceError::ThemeDataServiceError(Case errorCase, std::optional<Error> payload)
    : EnumerationError("ThemeDataServiceError", nameOf(errorCase), std::move(payload)), case_(errorCase) {}

ThemeDataServiceError ThemeDataServiceError::map(const Error& error, CorvaneSDK::Logger* logger) {
  if (logger) {
    logger->log("VelloraService: ThemeDataServiceError: " + error.localizedDescription(),
                CorvaneSDK::LogLevel::error);
  }
  if (const auto* own = error.as<ThemeDataServiceError>()) return *own;
  return other(error);
}

}  // namespace vellora
