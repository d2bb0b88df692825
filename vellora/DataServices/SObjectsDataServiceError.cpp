#include "vellora/DataServices/SObjectsDataServiceError.h"

namespace vellora {

namespace {

std::string_view nameOf(SObjectsDataServiceError::Case errorCase) {
  using Case = SObjectsDataServiceError::Case;
  switch (errorCase) {
    case Case::other:
      return "other";
    case Case::decoding:
      return "decoding";
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

SObjectsDataServiceError::SObjectsDataServiceError(Case errorCase, std::optional<Error> payload)
    : EnumerationError("SObjectsDataServiceError", nameOf(errorCase), std::move(payload)), case_(errorCase) {}

SObjectsDataServiceError SObjectsDataServiceError::map(const Error& error, CorvaneSDK::Logger* logger) {
  if (logger) {
    logger->log("VelloraService: SObjectsDataServiceError: " + error.localizedDescription(),
                CorvaneSDK::LogLevel::error);
  }
  if (const auto* own = error.as<SObjectsDataServiceError>()) return *own;
  return other(error);
}

}  // namespace vellora
