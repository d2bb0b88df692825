#include "vellora/DataServices/ThemeDataServiceError.h"

#include "vellora/DataServices/MappedError.h"

namespace vellora {

namespace {

constexpr std::string_view typeName = "ThemeDataServiceError";

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
    : EnumerationError(typeName, nameOf(errorCase), std::move(payload)), case_(errorCase) {}

ThemeDataServiceError ThemeDataServiceError::map(const Error& error, CorvaneSDK::Logger* logger) {
  return mappedError<ThemeDataServiceError>(error, typeName, logger);
}

}  // namespace vellora
